// Starts the language server, `kelmscript lsp`, for data sources, and tells it the user's settings.
"use strict";

const { commands, window, workspace } = require("vscode");
const { LanguageClient } = require("vscode-languageclient/node");

let client;

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
    if (former?.isRunning()) await former.stop();
}

async function restart() {
    await stop();
    await start();
}

async function settingsChanged(event) {
    if (event.affectsConfiguration("kelmscript.server")) await restart();
    else if (event.affectsConfiguration("kelmscript") && client?.isRunning())
        await client.sendNotification("workspace/didChangeConfiguration", { settings: { kelmscript: settings() } });
}

async function activate(context) {
    context.subscriptions.push(
        commands.registerCommand("kelmscript.restart", restart),
        workspace.onDidChangeConfiguration(settingsChanged),
        workspace.onDidGrantWorkspaceTrust(restart),
    );
    await start();
}

module.exports = { activate, deactivate: stop };
