// Starts the language server, `kelmscript lsp`, for data sources, and tells it the user's settings.
"use strict";

const { commands, window, workspace } = require("vscode");
const { LanguageClient } = require("vscode-languageclient/node");

let client;

// Starting and stopping take a while; each begins when the one before it is over.
let last = Promise.resolve();
function inTurn(task) {
    last = last.then(task, task);
    return last;
}

function settings() {
    const configuration = workspace.getConfiguration("kelmscript");
    const chosen = {
        modules: configuration.get("modules"),
        readingLimit: configuration.get("readingLimit"),
    };
    const types = configuration.get("types");
    if (types) chosen.types = types;
    return chosen;
}

async function start() {
    const command = workspace.getConfiguration("kelmscript").get("server");
    client = new LanguageClient(
        "kelmscript",
        "KelmScript",
        { command, args: ["lsp"] },
        {
            documentSelector: [{ language: "kelmscript-data" }],
            initializationOptions: settings(),
            synchronize: { fileEvents: workspace.createFileSystemWatcher("**/*.kds") },
        },
    );
    try {
        await client.start();
    } catch (error) {
        window.showErrorMessage(`KelmScript: ${command} lsp could not be started: ${error.message}`);
    }
}

async function stop() {
    const former = client;
    client = undefined;
    if (former?.needsStop()) await former.stop();
}

async function restart() {
    await stop();
    await start();
}

async function tellSettings() {
    if (client?.isRunning())
        await client.sendNotification("workspace/didChangeConfiguration", { settings: { kelmscript: settings() } });
}

async function settingsChanged(event) {
    if (event.affectsConfiguration("kelmscript.server")) await inTurn(restart);
    else if (event.affectsConfiguration("kelmscript")) await inTurn(tellSettings);
}

async function activate(context) {
    context.subscriptions.push(
        commands.registerCommand("kelmscript.restart", () => inTurn(restart)),
        workspace.onDidChangeConfiguration(settingsChanged),
        workspace.onDidGrantWorkspaceTrust(() => inTurn(restart)),
    );
    await inTurn(start);
}

module.exports = { activate, deactivate: () => inTurn(stop) };
