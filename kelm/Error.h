#pragma once

// The one error that leaves the front door.
//
//     order.kds:3:27: error: Expected int32 when read "three"
//         lines = [{ quantity = "three" }]
//                               ^~~~~~~
//
// Copying one never throws. What is asked of a temporary is a copy.

#include <kelm/api.h>
#include <klUtils/types.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace kelm
{

enum class ErrorKind
{
    Syntax,     // the grammar, and text that is left over
    Name,       // unknown or repeated names, enumerators, classes
    Type,       // values of another kind or class, steps that cannot be
    Range,      // numbers that do not fit; indices, keys and objects that are not there
    Check,      // values that a check refuses, required members that are missing
    Arithmetic, // a division that cannot be done, and its like
    Call,       // numbers of arguments
    File,       // a file that cannot be read or written
    Internal,   // a broken invariant: a fault of ours, or of a description
};

class KELM_API Error : public std::runtime_error
{
public:
    struct Details
    {
        ErrorKind m_kind = ErrorKind::Internal;
        std::string m_message = {};
        std::string m_source = {}; // "<text>", or a file's path
        int64 m_line = 0;
        int64 m_column = 0;
        std::string m_excerpt = {};
        std::string m_fieldPath = {};
        std::vector<std::string> m_suggestions = {};
        std::string m_hint = {};
    };

    explicit Error(Details details);
    Error(const Error& other) noexcept;
    Error& operator=(const Error& other) noexcept;
    ~Error() override;

    ErrorKind GetKind() const noexcept { return m_details->m_kind; }

    // What is wrong, without a place.
    const std::string& GetMessage() const& noexcept { return m_details->m_message; }
    std::string GetMessage() const&& { return m_details->m_message; }

    // Where: lines and characters, both counted from 1; 0 where the error has no place.
    const std::string& GetSource() const& noexcept { return m_details->m_source; }
    std::string GetSource() const&& { return m_details->m_source; }
    int64 GetLine() const noexcept { return m_details->m_line; }
    int64 GetColumn() const noexcept { return m_details->m_column; }

    // The line, and below it a caret under all of the token; empty where the error has no place.
    const std::string& GetExcerpt() const& noexcept { return m_details->m_excerpt; }
    std::string GetExcerpt() const&& { return m_details->m_excerpt; }

    // The field that was being read, ".lines[0].quantity"; empty where there was none.
    const std::string& GetFieldPath() const& noexcept { return m_details->m_fieldPath; }
    std::string GetFieldPath() const&& { return m_details->m_fieldPath; }

    // The nearest names that exist, where one was wrong.
    const std::vector<std::string>& GetSuggestions() const& noexcept { return m_details->m_suggestions; }
    std::vector<std::string> GetSuggestions() const&& { return m_details->m_suggestions; }

    // How what was written is written here, where that is known; empty where it is not.
    const std::string& GetHint() const& noexcept { return m_details->m_hint; }
    std::string GetHint() const&& { return m_details->m_hint; }

private:
    struct SharedDetails;
    const Details* m_details; // of a SharedDetails
};

} // namespace kelm
