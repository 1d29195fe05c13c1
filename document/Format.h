#pragma once

// The one layout that a document has, whoever wrote it: what stands between tokens and comments is white space, and
// formatting changes nothing else. docs/documents.md tells the layout.
//
//     const kelm::Result<std::string> formatted = kelm::Format(text);
//
// Tokens alone decide, and no types: a text need not be readable here, but it must have the form of a data source of
// some class, or of a body alone. One that has not is refused with its first error. Formatting what is formatted
// changes nothing. Nesting has no limit.
//
// What stands between the comments "// fmt: off" and "// fmt: on" stays as it is.

#include <kelm/Result.h>
#include <kelmDocument/Diagnose.h>
#include <kelmDocument/Document.h>
#include <kelmDocument/api.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelm
{

struct FormatOptions
{
    std::size_t m_width = 100; // characters that a line should have at most
    std::size_t m_indent = 4;  // blanks a level
};

// Lines end as the first one does.
KELM_DOCUMENT_API Result<std::string> Format(std::string_view text, const FormatOptions& options = {});
inline Result<std::string> Format(const Document& document, const FormatOptions& options = {})
{
    return Format(document.GetText(), options);
}

// White space in place of other white space.
struct SpaceChange
{
    Span m_removed;
    std::string m_inserted;
};

// The same for the lines that a range touches, as changes in the order of their places: of the white space before each
// token and comment that begins on one of these lines, and before the end of the text where that is there. So the first
// change may begin on lines above, behind what stands there; what stands behind the last token is the next line's, and
// stays. All else is laid out as it is written.
KELM_DOCUMENT_API Result<std::vector<SpaceChange>> FormatLines(std::string_view text, Span range,
                                                               const FormatOptions& options = {});
inline Result<std::vector<SpaceChange>> FormatLines(const Document& document, Span range,
                                                    const FormatOptions& options = {})
{
    return FormatLines(document.GetText(), range, options);
}

// Why a text has no layout, if it has none.
KELM_DOCUMENT_API std::optional<Diagnostic> FindSyntaxError(std::string_view text);

} // namespace kelm
