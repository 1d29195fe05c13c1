#pragma once

// All that is wrong with a text, for people.

#include <kelmDocument/Part.h>
#include <kelmDocument/Policy.h>
#include <kelmDocument/api.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kelm
{

enum class Severity : uint8
{
    Error,
    Warning,
};

struct Diagnostic
{
    Severity m_severity;
    std::string m_message;
    std::size_t m_place; // where the readers tell it, in octets from the beginning
    Span m_token;        // what is wrong; empty at the end of the text
    std::string m_note;  // such as the nearest names; empty for none
    std::size_t m_notePlace;
};

inline constexpr std::size_t s_mostDiagnostics = 100;

// Of the text as a data source of the registered types, read as ParseDataSource reads it, which goes on behind errors:
// in the order of their places. The first error has the message and the place of ParseDataSource's, and there is none
// where that reads the text. Warnings are about what is read, but hardly meant: text behind the data source, a member
// that is written twice, characters that are not UTF-8, and comments that go on behind a carriage return alone. A byte
// order mark in front is passed over.
//
// Reading makes objects, which nothing refers to afterwards.
KELM_DOCUMENT_API std::vector<Diagnostic> Diagnose(std::string_view text, std::size_t most = s_mostDiagnostics);

// By a policy, DocumentPolicy::Of<T>() for what kelm::Read<T> reads: then the first error is that of kelm::Read. Throws
// kelm::Error where the type itself is at fault.
KELM_DOCUMENT_API std::vector<Diagnostic> Diagnose(std::string_view text, const DocumentPolicy& policy,
                                                   std::size_t most = s_mostDiagnostics);

} // namespace kelm
