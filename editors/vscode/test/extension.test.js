// What the extension does with its server, in an editor that is none.
"use strict";

const assert = require("node:assert");
const Module = require("node:module");
const { test } = require("node:test");

const log = [];
const pending = [];
let settingsChanged;
let trusted;
let configuration = { server: "tool", modules: ["/lib.so"], types: "", readingLimit: 10 };

class LanguageClient {
    constructor(id, name, server, options) {
        this.command = server.command;
        this.options = options;
        this.state = "new";
    }
    async start() {
        this.state = "starting";
        log.push(`${this.command} starts`);
        const succeeds = await new Promise((resolve) => pending.push(resolve));
        this.state = succeeds ? "running" : "failed";
        if (!succeeds) throw new Error("it is not there");
        log.push(`${this.command} runs`);
    }
    isRunning() {
        return this.state === "running";
    }
    needsStop() {
        return this.state === "starting" || this.state === "running";
    }
    async stop() {
        assert.strictEqual(this.state, "running", "a client that starts cannot be stopped");
        this.state = "stopped";
        log.push(`${this.command} stops`);
    }
    async sendNotification(method, { settings }) {
        log.push(`${method} ${JSON.stringify(settings.kelmscript)}`);
    }
}

const commands = {};
const stubs = {
    vscode: {
        commands: { registerCommand: (name, run) => (commands[name] = run) },
        window: { showErrorMessage: (message) => log.push(message) },
        workspace: {
            getConfiguration: () => ({ get: (name) => configuration[name] }),
            createFileSystemWatcher: () => ({}),
            onDidChangeConfiguration: (call) => (settingsChanged = call),
            onDidGrantWorkspaceTrust: (call) => (trusted = call),
        },
    },
    "vscode-languageclient/node": { LanguageClient },
};
const load = Module._load;
Module._load = (name, ...rest) => stubs[name] ?? load(name, ...rest);
const extension = require("../extension.js");
Module._load = load;

const change = (name) => settingsChanged({ affectsConfiguration: (asked) => name.startsWith(asked) });
const settle = async (succeeds = true) => {
    while (pending.length === 0) await new Promise(setImmediate);
    pending.shift()(succeeds);
};
const logged = (...lines) => assert.deepStrictEqual(log.splice(0), lines);

test("the server", async () => {
    const activated = extension.activate({ subscriptions: [] });
    await settle();
    await activated;
    logged("tool starts", "tool runs");

    // Another server, and settings, while one starts.
    configuration = { ...configuration, server: "other" };
    const changes = [change("kelmscript.server"), change("kelmscript.modules"), trusted(), commands["kelmscript.restart"]()];
    await settle();
    configuration = { ...configuration, types: "/types.json" };
    await settle();
    await settle();
    await Promise.all(changes);
    logged(
        "tool stops", "other starts", "other runs",
        'workspace/didChangeConfiguration {"modules":["/lib.so"],"readingLimit":10,"types":"/types.json"}',
        "other stops", "other starts", "other runs", "other stops", "other starts", "other runs",
    );

    // One that cannot be started, and the end while another one starts.
    const failing = commands["kelmscript.restart"]();
    await settle(false);
    await failing;
    logged("other stops", "other starts", "KelmScript: other lsp could not be started: it is not there");
    const restarted = commands["kelmscript.restart"]();
    const ended = extension.deactivate();
    await settle();
    await Promise.all([restarted, ended]);
    logged("other starts", "other runs", "other stops");
});
