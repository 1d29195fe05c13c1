// What a language server sends, by the protocol's published types: of requests the results, of notifications the
// parameters. protocol.schema.json is made of it, with integers as such:
//
//     npm install vscode-languageserver-protocol@3.17.5 ts-json-schema-generator
//     npx ts-json-schema-generator --path protocol.ts --type Sent --jsDoc none --no-type-check
import type {
    CodeAction, Command, CompletionItem, CompletionList, Definition, DefinitionLink, DocumentHighlight, DocumentSymbol,
    FoldingRange, Hover, InitializeResult, InlayHint, Location, PublishDiagnosticsParams, Range, SemanticTokens,
    ShowMessageParams, SignatureHelp, SymbolInformation, TextEdit, WorkspaceEdit, WorkspaceSymbol,
} from "vscode-languageserver-protocol";

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
