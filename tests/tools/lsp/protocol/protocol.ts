// What a language server and its client send, by the protocol's published types: of the server the results of requests and
// the parameters of notifications, of the client the parameters of both. protocol.schema.json is made of it, with
// integers as such:
//
//     npm install vscode-languageserver-protocol@3.17.5 ts-json-schema-generator
//     npx ts-json-schema-generator --path protocol.ts --type Protocol --jsDoc none --no-type-check
import type {
    CodeAction, CodeActionParams, Command, CompletionItem, CompletionList, CompletionParams, Definition, DefinitionLink,
    DefinitionParams, DidChangeConfigurationParams, DidChangeTextDocumentParams, DidChangeWatchedFilesParams,
    DidCloseTextDocumentParams, DidOpenTextDocumentParams, DocumentFormattingParams, DocumentHighlight,
    DocumentHighlightParams, DocumentRangeFormattingParams, DocumentSymbol, DocumentSymbolParams, FoldingRange,
    FoldingRangeParams, Hover, HoverParams, InitializeParams, InitializeResult, InlayHint, InlayHintParams, Location,
    PrepareRenameParams, PublishDiagnosticsParams, Range, ReferenceParams, RenameParams, SemanticTokens,
    SemanticTokensParams, ShowMessageParams, SignatureHelp, SignatureHelpParams, SymbolInformation, TextEdit,
    WorkspaceEdit, WorkspaceSymbol, WorkspaceSymbolParams,
} from "vscode-languageserver-protocol";

export interface Protocol {
    sent: Sent;
    asked: Asked;
}

export interface Sent {
    "initialize": InitializeResult;
    "shutdown": null;
    "textDocument/completion": CompletionItem[] | CompletionList | null;
    "textDocument/hover": Hover | null;
    "textDocument/signatureHelp": SignatureHelp | null;
    "textDocument/definition": Definition | DefinitionLink[] | null;
    "textDocument/references": Location[] | null;
    "textDocument/documentHighlight": DocumentHighlight[] | null;
    "textDocument/documentSymbol": SymbolInformation[] | DocumentSymbol[] | null;
    "workspace/symbol": SymbolInformation[] | WorkspaceSymbol[] | null;
    "textDocument/foldingRange": FoldingRange[] | null;
    "textDocument/semanticTokens/full": SemanticTokens | null;
    "textDocument/inlayHint": InlayHint[] | null;
    "textDocument/prepareRename": Range | { range: Range; placeholder: string } | { defaultBehavior: boolean } | null;
    "textDocument/rename": WorkspaceEdit | null;
    "textDocument/codeAction": (Command | CodeAction)[] | null;
    "textDocument/formatting": TextEdit[] | null;
    "textDocument/rangeFormatting": TextEdit[] | null;
    "textDocument/publishDiagnostics": PublishDiagnosticsParams;
    "window/showMessage": ShowMessageParams;
}

export interface Asked {
    "initialize": InitializeParams;
    "initialized": {};
    "shutdown": {};
    "exit": {};
    "$/cancelRequest": { id: number | string };
    "textDocument/didOpen": DidOpenTextDocumentParams;
    "textDocument/didChange": DidChangeTextDocumentParams;
    "textDocument/didClose": DidCloseTextDocumentParams;
    "workspace/didChangeConfiguration": DidChangeConfigurationParams;
    "workspace/didChangeWatchedFiles": DidChangeWatchedFilesParams;
    "textDocument/completion": CompletionParams;
    "textDocument/hover": HoverParams;
    "textDocument/signatureHelp": SignatureHelpParams;
    "textDocument/definition": DefinitionParams;
    "textDocument/references": ReferenceParams;
    "textDocument/documentHighlight": DocumentHighlightParams;
    "textDocument/documentSymbol": DocumentSymbolParams;
    "workspace/symbol": WorkspaceSymbolParams;
    "textDocument/foldingRange": FoldingRangeParams;
    "textDocument/semanticTokens/full": SemanticTokensParams;
    "textDocument/inlayHint": InlayHintParams;
    "textDocument/prepareRename": PrepareRenameParams;
    "textDocument/rename": RenameParams;
    "textDocument/codeAction": CodeActionParams;
    "textDocument/formatting": DocumentFormattingParams;
    "textDocument/rangeFormatting": DocumentRangeFormattingParams;
}
