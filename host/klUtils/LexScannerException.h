#pragma once

#include <klUtils/IException.h>
#include <klUtils/text/LSToken.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>

#include <exception>

namespace kelm
{

// The error of all parsing: a message and the place that it is about.
class KLUTILS_API LexScannerException : public IException, public std::exception
{
public:
    // An error at the first character of `t`, in a line not yet known.
    LexScannerException(const xstring& description, LSToken t);
    LexScannerException(const LexScannerException& other);
    LexScannerException& operator=(const LexScannerException& other);
    ~LexScannerException() override;

    // "line 3: message"; the message alone while the line is unknown; with a file name before either.
    void Write(xostream& os) const override;
    const char* what() const noexcept override; // the message alone

    // Fills in the line, while it is unknown, for an error in `text`.
    void LocateIn(SubString text);

    // What Write writes.
    xstring GetWrittenText() const;

    xstring m_description;
    xstring m_filename;
    int64 m_lineNumber; // counted from 1; -1 while unknown
    const char* m_pos;  // into the parsed text, which may be gone when the exception is read
};

} // namespace kelm
