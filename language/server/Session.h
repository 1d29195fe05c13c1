#pragma once

// What a server knows while a client is there: the client's abilities, its texts, and the types.

#include <kelmDocument/Document.h>
#include <kelmLanguage/LineIndex.h>
#include <kelmLanguage/Types.h>
#include <kelmLanguage/server/Json.h>
#include <kelmLanguage/server/Server.h>

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::language
{

// A text with its lines, of an editor or of a file.
struct LinedText
{
    explicit LinedText(std::string text) : m_document(Document::Parse(std::move(text))), m_lines(m_document.GetText())
    {
    }

    std::string_view GetText() const { return m_document.GetText(); }

    Document m_document;
    LineIndex m_lines;
};

struct OpenText : LinedText
{
    using LinedText::LinedText;

    bool IsHuge() const { return GetText().size() > s_longestText; }

    long long m_version = 0;    // the client's, which may be that of another text
    long long m_edition = 0;    // of all texts another
    bool m_isDiagnosed = false; // as it is now
};

struct Session
{
    explicit Session(ServerHost& host) : m_host(host), m_types(std::make_shared<Types>()) {}

    // Throws where the client has not opened it.
    OpenText& GetOpen(const Json& params);

    Json JsonOf(const LinedText& text, Span span) const;
    std::size_t OffsetOf(const LinedText& text, const Json& position) const;
    Span SpanOf(const LinedText& text, const Json& range) const;
    std::size_t LengthOf(std::string_view text) const; // in the client's units

    // Calls back for the open texts, then for the files of the workspace that are not open, with their URIs.
    void ForEachText(const std::function<void(const std::string& uri, const LinedText& text)>& call) const;

    ServerHost& m_host;
    std::shared_ptr<const Types> m_types;
    std::map<std::string, OpenText> m_texts; // by URI
    long long m_lastEdition = 0;
    std::vector<std::string> m_roots; // folders of the workspace
    Units m_units = Units::Utf16;
    bool m_hasSnippets = false;
    bool m_hasHierarchy = false; // of symbols
    bool m_hasLabelOffsets = false;
};

// The name and place of a place of a text.
inline Json LocationOf(const Session& session, const std::string& uri, const LinedText& text, Span span)
{
    return {{"uri", uri}, {"range", session.JsonOf(text, span)}};
}

} // namespace kelm::language
