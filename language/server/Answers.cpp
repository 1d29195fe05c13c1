#include <kelmLanguage/server/Answers.h>

#include <kelmLanguage/Completion.h>
#include <kelmLanguage/DescriptionText.h>
#include <kelmLanguage/Findings.h>
#include <kelmLanguage/Help.h>
#include <kelmLanguage/Outline.h>
#include <kelmLanguage/References.h>
#include <kelmLanguage/Sites.h>
#include <kelmLanguage/server/Uri.h>

#include <kelm/private/errors/Suggest.h>
#include <kelmDocument/Format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace kelm::language
{

namespace
{

constexpr std::size_t s_mostFindings = 100;
constexpr std::size_t s_mostDescribed = 200;                  // completions with descriptions of their own
constexpr std::size_t s_longestSource = std::size_t{1} << 20; // of C++ that is looked at, in octets

// A text that the client has, and the place that it asks about.
struct Asked
{
    Asked(Session& session, const Json& params)
        : m_text(session.GetOpen(params)), m_at(session.OffsetOf(m_text, Get(params, "position")))
    {
        if (m_text.IsHuge())
            throw RequestError{ERROR_REQUEST_FAILED, "the text is too long"};
    }

    OpenText& m_text;
    std::size_t m_at;
};

Json Markdown(const std::string& text)
{
    return {{"kind", "markdown"}, {"value", text}};
}

// --- Completion

// As the protocol numbers them.
int NumberOf(CompletionKind kind)
{
    switch (kind)
    {
    case CompletionKind::Class: return 7;
    case CompletionKind::Member: return 10;
    case CompletionKind::Enumerator: return 20;
    case CompletionKind::Alternative: return 22;
    case CompletionKind::Word: return 14;
    case CompletionKind::Value: return 12;
    }
    return 1;
}

// A text as it is inserted, "$0" being where one goes on.
void PutInserted(const Session& session, std::string text, Json& item, Json& edit)
{
    constexpr std::string_view goOn = "$0";
    const std::size_t place = text.find(goOn);
    const bool isInside = place != std::string::npos && place + goOn.size() < text.size();
    if (place != std::string::npos && (!isInside || !session.m_hasSnippets))
        text.erase(place, goOn.size());
    if (isInside && session.m_hasSnippets)
    {
        item["insertTextFormat"] = 2;
        for (std::size_t at = text.find('\\'); at != std::string::npos; at = text.find('\\', at + 2))
            text.insert(at, 1, '\\');
    }
    edit["newText"] = std::move(text);
}

Json AnswerCompletion(Session& session, const Json& params)
{
    const Asked asked(session, params);
    Completions completions = Complete(asked.m_text.m_document, *session.m_types, asked.m_at);
    Span replaced = completions.m_replaced;
    const LineIndex& lines = asked.m_text.m_lines;
    if (lines.LineOf(replaced.m_begin) != lines.LineOf(replaced.m_end)) // of which editors want one
        replaced = {asked.m_at, asked.m_at};
    const Json range = session.JsonOf(asked.m_text, replaced);
    Json items = Json::array();
    const bool areDescribed = completions.m_choices.size() <= s_mostDescribed;
    for (Completion& choice : completions.m_choices)
    {
        std::string order = std::to_string(items.size());
        order.insert(0, 6 - std::min<std::size_t>(order.size(), 6), '0');
        Json item = {{"label", choice.m_label}, {"kind", NumberOf(choice.m_kind)}, {"sortText", std::move(order)}};
        if (!choice.m_detail.empty())
            item["detail"] = std::move(choice.m_detail);
        if (!choice.m_described.empty() && areDescribed)
            item["documentation"] = Markdown(choice.m_described);
        Json edit = {{"range", range}};
        PutInserted(session, std::move(choice.m_text), item, edit);
        item["filterText"] = choice.m_label;
        item["textEdit"] = std::move(edit);
        items.push_back(std::move(item));
    }
    return {{"isIncomplete", false}, {"items", std::move(items)}};
}

// --- Help

Json AnswerHover(Session& session, const Json& params)
{
    const Asked asked(session, params);
    const auto hover = HoverAt(asked.m_text.m_document, *session.m_types, asked.m_at);
    if (!hover)
        return nullptr;
    return {{"contents", Markdown(hover->m_described)}, {"range", session.JsonOf(asked.m_text, hover->m_span)}};
}

Json AnswerSignatureHelp(Session& session, const Json& params)
{
    const Asked asked(session, params);
    const auto signature = SignatureAt(asked.m_text.m_document, *session.m_types, asked.m_at);
    if (!signature)
        return nullptr;
    Json parameters = Json::array();
    for (std::size_t i = 0; i < signature->m_parts.size(); ++i)
    {
        const Span part = signature->m_parts[i];
        Json parameter;
        if (session.m_hasLabelOffsets) // of names and types, which are ASCII
            parameter["label"] = {part.m_begin, part.m_end};
        else
            parameter["label"] = std::string(part.In(signature->m_label));
        if (!signature->m_docs[i].empty())
            parameter["documentation"] = Markdown(signature->m_docs[i]);
        parameters.push_back(std::move(parameter));
    }
    Json told = {{"label", signature->m_label}, {"parameters", std::move(parameters)}};
    return {{"signatures", {std::move(told)}}, {"activeSignature", 0}, {"activeParameter", signature->m_active}};
}

// --- Where things are

// The file where something is described, if that is here.
std::string FindDescribing(const Session& session, const DescribedPlace& place)
{
    namespace fs = std::filesystem;
    if (place.m_line <= 0 || place.m_file.empty())
        return {};
    std::error_code ignored;
    const fs::path file(place.m_file);
    if (file.is_absolute())
        return fs::is_regular_file(file, ignored) ? file.string() : std::string();
    // Compilers run in folders of their own, somewhere below.
    fs::path below;
    for (const fs::path& part : file.lexically_normal())
        if (part != "..")
            below /= part;
    for (const std::string& root : session.m_roots)
        if (const fs::path candidate = (fs::path(root) / below).lexically_normal();
            fs::is_regular_file(candidate, ignored))
            return candidate.string();
    return {};
}

Json LineLocation(const std::string& path, std::size_t line)
{
    const Json place = {{"line", line}, {"character", 0}};
    return {{"uri", UriOfPath(path)}, {"range", {{"start", place}, {"end", place}}}};
}

// The name of a member, if it is there, or where its description begins.
Json DescribingLocation(const Session& session, const std::string& path, std::size_t line, const std::string& name)
{
    std::ifstream file(path, std::ios::binary);
    std::string source(s_longestSource, '\0');
    file.read(source.data(), static_cast<std::streamsize>(source.size()));
    source.resize(static_cast<std::size_t>(file.gcount()));
    std::optional<Span> found = FindInDescription(source, line, name);
    if (!found)
        found = FindInDescription(source, line, {});
    if (!found)
        return LineLocation(path, line);
    const LineIndex lines(source);
    const auto placeOf = [&](std::size_t at)
    {
        const LinePlace place = lines.PlaceOf(source, at, session.m_units);
        return Json{{"line", place.m_line}, {"character", place.m_unit}};
    };
    return {{"uri", UriOfPath(path)}, {"range", {{"start", placeOf(found->m_begin)}, {"end", placeOf(found->m_end)}}}};
}

Json AnswerDefinition(Session& session, const Json& params)
{
    const Asked asked(session, params);
    const auto place = SubjectAt(asked.m_text.m_document, *session.m_types, asked.m_at);
    if (!place)
        return nullptr;
    if (const CatalogueEntry* const entry = FindEntry(*session.m_types, place->m_subject))
        if (const std::string path = FindDescribing(session, entry->m_place); !path.empty())
            return DescribingLocation(session, path, static_cast<std::size_t>(entry->m_place.m_line - 1),
                                      place->m_subject.m_name);
    const auto declaration = DeclarationOf(*session.m_types, place->m_subject);
    if (!declaration)
        return nullptr;
    const std::string path = session.m_host.WriteShown(place->m_subject.m_owner, declaration->m_text);
    return path.empty() ? Json() : LineLocation(path, declaration->m_line);
}

Json AnswerReferences(Session& session, const Json& params)
{
    const Asked asked(session, params);
    const auto place = SubjectAt(asked.m_text.m_document, *session.m_types, asked.m_at);
    if (!place)
        return nullptr;
    Json locations = Json::array();
    session.ForEachText(
        [&](const std::string& uri, const LinedText& text)
        {
            const std::string& name = place->m_subject.m_name;
            if (!name.empty() && text.GetText().find(name.substr(name.rfind(':') + 1)) == std::string_view::npos)
                return;
            for (const Span span : MentionsOf(text.m_document, *session.m_types, place->m_subject))
                locations.push_back(LocationOf(session, uri, text, span));
        });
    return locations;
}

Json AnswerHighlight(Session& session, const Json& params)
{
    const Asked asked(session, params);
    const auto place = SubjectAt(asked.m_text.m_document, *session.m_types, asked.m_at);
    if (!place)
        return nullptr;
    Json highlights = Json::array();
    for (const Span span : MentionsOf(asked.m_text.m_document, *session.m_types, place->m_subject))
        highlights.push_back({{"range", session.JsonOf(asked.m_text, span)}, {"kind", 1}});
    return highlights;
}

// --- Outline

int NumberOf(SymbolKind kind)
{
    switch (kind)
    {
    case SymbolKind::Object: return 19;
    case SymbolKind::List: return 18;
    case SymbolKind::Map: return 3; // a namespace, for want of a map
    case SymbolKind::Member: return 7;
    }
    return 7;
}

// An empty name is none for editors.
std::string NameOf(const Symbol& symbol)
{
    return symbol.m_name.empty() ? "?" : symbol.m_name;
}

Json AnswerSymbols(Session& session, const Json& params)
{
    const OpenText& text = session.GetOpen(params);
    if (text.IsHuge())
        return nullptr;
    const std::string& uri = GetText(Get(params, "textDocument"), "uri");
    const std::vector<Symbol> symbols = OutlineOf(text.m_document, *session.m_types);
    if (!session.m_hasHierarchy)
    {
        Json all = Json::array();
        for (const Symbol& symbol : symbols)
            all.push_back({{"name", NameOf(symbol)},
                           {"kind", NumberOf(symbol.m_kind)},
                           {"location", LocationOf(session, uri, text, symbol.m_span)}});
        return all;
    }
    // From behind, so that children are whole when they are put into what they are in.
    std::vector<Json> levels;
    for (std::size_t i = symbols.size(); i-- > 0;)
    {
        const Symbol& symbol = symbols[i];
        levels.resize(std::max(levels.size(), symbol.m_depth + 2), Json::array());
        Json told = {{"name", NameOf(symbol)},
                     {"kind", NumberOf(symbol.m_kind)},
                     {"range", session.JsonOf(text, symbol.m_span)},
                     {"selectionRange", session.JsonOf(text, symbol.m_named)}};
        if (!symbol.m_detail.empty())
            told["detail"] = symbol.m_detail;
        Json& children = levels[symbol.m_depth + 1];
        if (!children.empty())
        {
            std::reverse(children.begin(), children.end());
            told["children"] = std::move(children);
            children = Json::array();
        }
        levels[symbol.m_depth].push_back(std::move(told));
    }
    if (levels.empty())
        return Json::array();
    std::reverse(levels[0].begin(), levels[0].end());
    return std::move(levels[0]);
}

Json AnswerWorkspaceSymbols(Session& session, const Json& params)
{
    constexpr std::size_t most = 500;
    const std::string& query = GetText(params, "query");
    const auto isMeant = [&](const std::string& name)
    {
        return std::search(name.begin(), name.end(), query.begin(), query.end(),
                           [](char a, char b) {
                               return std::tolower(static_cast<unsigned char>(a)) ==
                                      std::tolower(static_cast<unsigned char>(b));
                           }) != name.end() ||
               query.empty();
    };
    Json found = Json::array();
    session.ForEachText(
        [&](const std::string& uri, const LinedText& text)
        {
            if (found.size() >= most)
                return;
            for (const Symbol& symbol : OutlineOf(text.m_document, *session.m_types))
                if (symbol.m_kind != SymbolKind::Member && found.size() < most &&
                    (isMeant(symbol.m_name) || isMeant(symbol.m_detail)))
                {
                    Json told = {
                        {"name", symbol.m_detail.empty() ? NameOf(symbol) : NameOf(symbol) + " " + symbol.m_detail},
                        {"kind", NumberOf(symbol.m_kind)},
                        {"location", LocationOf(session, uri, text, symbol.m_named)}};
                    found.push_back(std::move(told));
                }
        });
    return found;
}

Json AnswerFolds(Session& session, const Json& params)
{
    const OpenText& text = session.GetOpen(params);
    Json folds = Json::array();
    if (text.IsHuge())
        return folds;
    for (const Fold& fold : FoldsOf(text.m_document))
    {
        const std::size_t first = text.m_lines.LineOf(fold.m_span.m_begin);
        std::size_t last = text.m_lines.LineOf(fold.m_span.m_end);
        const bool isComment = fold.m_kind == FoldKind::Comment;
        if (!isComment) // the line of the closing bracket stays
            --last;
        if (last <= first)
            continue;
        Json told = {{"startLine", first}, {"endLine", last}};
        if (isComment)
            told["kind"] = "comment";
        folds.push_back(std::move(told));
    }
    return folds;
}

// --- Colours and hints

// In the order of TokenKind.
constexpr const char* s_tokenNames[] = {"namespace", "class",  "property", "enumMember",
                                        "keyword",   "number", "string",   "comment"};
static_assert(std::size(s_tokenNames) == static_cast<std::size_t>(TokenKind::Comment) + 1);

Json AnswerTokens(Session& session, const Json& params)
{
    const OpenText& text = session.GetOpen(params);
    Json data = Json::array();
    if (text.IsHuge())
        return {{"data", std::move(data)}};
    const std::string_view all = text.GetText();
    LinePlace last;
    const auto put = [&](Span span, TokenKind kind)
    {
        const LinePlace place = text.m_lines.PlaceOf(all, span.m_begin, session.m_units);
        const bool isSameLine = place.m_line == last.m_line;
        for (const std::size_t number :
             {place.m_line - last.m_line, isSameLine ? place.m_unit - last.m_unit : place.m_unit,
              session.LengthOf(span.In(all)), static_cast<std::size_t>(kind), std::size_t{0}})
            data.push_back(number);
        last = place;
    };
    for (const ColouredToken& token : TokensOf(text.m_document, *session.m_types))
    {
        // Those of several lines are several.
        std::size_t line = text.m_lines.LineOf(token.m_span.m_begin);
        for (Span rest = token.m_span; !rest.IsEmpty(); ++line)
        {
            const Span here{rest.m_begin, std::min(rest.m_end, text.m_lines.GetEnd(all, line))};
            if (!here.IsEmpty() && here.m_begin < here.m_end)
                put(here, token.m_kind);
            const std::size_t next = line + 1 < text.m_lines.GetCount() ? text.m_lines.GetStart(line + 1) : all.size();
            rest.m_begin = std::min(next, rest.m_end);
        }
    }
    return {{"data", std::move(data)}};
}

Json AnswerHints(Session& session, const Json& params)
{
    const OpenText& text = session.GetOpen(params);
    Json hints = Json::array();
    if (text.IsHuge())
        return hints;
    for (const Hint& hint : HintsOf(text.m_document, *session.m_types, session.SpanOf(text, Get(params, "range"))))
        hints.push_back({{"position", session.JsonOf(text, {hint.m_place, hint.m_place})["start"]},
                         {"label", hint.m_label},
                         {"kind", 2},
                         {"paddingRight", true}});
    return hints;
}

// --- Changes

Json EditsOf(const Session& session, const OpenText& text, const std::vector<Replacement>& replacements)
{
    Json edits = Json::array();
    for (const Replacement& replacement : replacements)
        edits.push_back({{"range", session.JsonOf(text, replacement.m_removed)}, {"newText", replacement.m_inserted}});
    return edits;
}

Json AnswerPrepareRename(Session& session, const Json& params)
{
    const Asked asked(session, params);
    const auto renaming = RenamingAt(asked.m_text.m_document, *session.m_types, asked.m_at);
    if (!renaming)
        return nullptr;
    return {{"range", session.JsonOf(asked.m_text, renaming->m_span)},
            {"placeholder", std::string(renaming->m_span.In(asked.m_text.GetText()))}};
}

Json AnswerRename(Session& session, const Json& params)
{
    const Asked asked(session, params);
    const std::string& name = GetText(params, "newName");
    const auto renaming = RenamingAt(asked.m_text.m_document, *session.m_types, asked.m_at);
    if (!renaming)
        throw RequestError{ERROR_REQUEST_FAILED, "there is no name here that could be another one"};
    std::string written = name;
    for (std::size_t at = written.find('.'); at != std::string::npos; at = written.find('.', at))
        written.replace(at, 1, "::");
    const auto& choices = renaming->m_choices;
    if (std::find(choices.begin(), choices.end(), written) == choices.end())
    {
        const std::string hint = choices.empty() ? renaming->m_nothingElse
                                 : choices.size() > 12 && !NearestNames(written, choices).empty()
                                     ? DidYouMean(NearestNames(written, choices))
                                     : ThereAre(choices);
        throw RequestError{ERROR_REQUEST_FAILED,
                           "'" + name + "' cannot stand here" + (hint.empty() ? "" : ": ") + hint};
    }
    const std::string& uri = GetText(Get(params, "textDocument"), "uri");
    return {{"changes", {{uri, EditsOf(session, asked.m_text, {{renaming->m_span, name}})}}}};
}

Json AnswerActions(Session& session, const Json& params)
{
    const OpenText& text = session.GetOpen(params);
    Json actions = Json::array();
    if (text.IsHuge())
        return actions;
    const Json* const only = Find(params, "context", "only");
    const auto isWanted = [&](std::string_view kind)
    {
        if (only == nullptr || !only->is_array())
            return true;
        return std::any_of(only->begin(), only->end(),
                           [&](const Json& wanted)
                           {
                               if (!wanted.is_string())
                                   return false;
                               const auto& prefix = wanted.get_ref<const std::string&>();
                               return prefix.empty() || kind == prefix || kind.starts_with(prefix + ".");
                           });
    };
    const std::string& uri = GetText(Get(params, "textDocument"), "uri");
    for (const Change& change :
         ChangesAt(text.m_document, *session.m_types, session.SpanOf(text, Get(params, "range"))))
    {
        const char* const kind = change.m_isMending ? "quickfix" : "refactor.rewrite";
        if (isWanted(kind))
            actions.push_back({{"title", change.m_title},
                               {"kind", kind},
                               {"edit", {{"changes", {{uri, EditsOf(session, text, change.m_replacements)}}}}}});
    }
    return actions;
}

// As the editor is set, unless the project of a file says otherwise: its files have one layout, whoever edits them.
FormatOptions OptionsOf(const Session& session, const Json& params)
{
    FormatOptions options;
    if (const Json* const size = Find(params, "options", "tabSize"); size != nullptr && size->is_number_unsigned())
        options.m_indent = std::clamp<std::size_t>(size->get<std::size_t>(), 1, 16);
    const std::optional<std::string> path = PathOfUri(GetText(Get(params, "textDocument"), "uri"));
    if (!path)
        return options;
    std::string why;
    const std::optional<FormatOptions> found = session.m_host.FindLayout(*path, options, why);
    if (!found)
        throw RequestError{ERROR_REQUEST_FAILED, why};
    return *found;
}

// None of a text that has no layout: what is wrong with it is shown already.
Json LayoutEdits(const Session& session, const OpenText& text, Span range, const Json& params)
{
    if (text.IsHuge())
        return nullptr;
    const auto changes = FormatLines(text.m_document, range, OptionsOf(session, params));
    if (!changes)
        return nullptr;
    Json edits = Json::array();
    for (const SpaceChange& change : *changes)
        edits.push_back({{"range", session.JsonOf(text, change.m_removed)}, {"newText", change.m_inserted}});
    return edits;
}

Json AnswerFormatting(Session& session, const Json& params)
{
    const OpenText& text = session.GetOpen(params);
    return LayoutEdits(session, text, {0, text.GetText().size()}, params);
}

Json AnswerRangeFormatting(Session& session, const Json& params)
{
    const OpenText& text = session.GetOpen(params);
    return LayoutEdits(session, text, session.SpanOf(text, Get(params, "range")), params);
}

constexpr Request s_requests[] = {
    {"textDocument/completion", AnswerCompletion},
    {"textDocument/hover", AnswerHover},
    {"textDocument/signatureHelp", AnswerSignatureHelp},
    {"textDocument/definition", AnswerDefinition},
    {"textDocument/references", AnswerReferences},
    {"textDocument/documentHighlight", AnswerHighlight},
    {"textDocument/documentSymbol", AnswerSymbols},
    {"workspace/symbol", AnswerWorkspaceSymbols},
    {"textDocument/foldingRange", AnswerFolds},
    {"textDocument/semanticTokens/full", AnswerTokens},
    {"textDocument/inlayHint", AnswerHints},
    {"textDocument/prepareRename", AnswerPrepareRename},
    {"textDocument/rename", AnswerRename},
    {"textDocument/codeAction", AnswerActions},
    {"textDocument/formatting", AnswerFormatting},
    {"textDocument/rangeFormatting", AnswerRangeFormatting},
};

Json DiagnosticOf(const Session& session, const OpenText& text, Span span, bool isError, std::string message)
{
    // What is wrong at the end of a text is shown at its last character.
    return {{"range", session.JsonOf(text, span)},
            {"severity", isError ? 1 : 2},
            {"source", "kelmscript"},
            {"message", std::move(message)}};
}

} // namespace

std::span<const Request> GetRequests()
{
    return s_requests;
}

Json AbilitiesOf(const Session& session)
{
    return {
        {"positionEncoding", session.m_units == Units::Utf8 ? "utf-8" : "utf-16"},
        {"textDocumentSync", {{"openClose", true}, {"change", 2}}},
        {"completionProvider", {{"triggerCharacters", {".", ":", "=", "(", "[", ",", ">"}}}},
        {"hoverProvider", true},
        {"signatureHelpProvider", {{"triggerCharacters", {"(", ","}}}},
        {"definitionProvider", true},
        {"referencesProvider", true},
        {"documentHighlightProvider", true},
        {"documentSymbolProvider", true},
        {"workspaceSymbolProvider", true},
        {"foldingRangeProvider", true},
        {"semanticTokensProvider",
         {{"legend", {{"tokenTypes", s_tokenNames}, {"tokenModifiers", Json::array()}}}, {"full", true}}},
        {"inlayHintProvider", true},
        {"documentFormattingProvider", true},
        {"documentRangeFormattingProvider", true},
        {"renameProvider", {{"prepareProvider", true}}},
        {"codeActionProvider", {{"codeActionKinds", {"quickfix", "refactor.rewrite"}}}},
        {"workspace", {{"workspaceFolders", {{"supported", true}, {"changeNotifications", true}}}}},
    };
}

Json DiagnosticsOf(const Session& session, const OpenText& text)
{
    Json diagnostics = Json::array();
    if (text.IsHuge())
    {
        diagnostics.push_back({{"range", session.JsonOf(text, {0, 0})},
                               {"severity", 3},
                               {"source", "kelmscript"},
                               {"message", "the text is longer than 16 MiB, so that it is not looked at"}});
        return diagnostics;
    }
    for (const Finding& finding : FindingsOf(text.m_document, *session.m_types, s_mostFindings))
    {
        std::string message = finding.m_message;
        if (const std::string question = DidYouMean(finding.m_nearest); !question.empty())
            message += "\n" + question;
        diagnostics.push_back(DiagnosticOf(session, text, finding.m_span, true, std::move(message)));
    }
    return diagnostics;
}

Json DiagnosticsOf(const Session& session, const OpenText& text, const std::vector<ReadFinding>& findings)
{
    Json diagnostics = Json::array();
    const std::size_t size = text.GetText().size();
    for (const ReadFinding& finding : findings)
    {
        const std::size_t begin = std::min(finding.m_begin, size);
        diagnostics.push_back(DiagnosticOf(session, text, {begin, std::clamp(finding.m_end, begin, size)},
                                           finding.m_isError, finding.m_message));
    }
    return diagnostics;
}

} // namespace kelm::language
