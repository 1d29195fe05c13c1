#pragma once

#include <klUtils/MessageException.h>
#include <klUtils/text/LSToken.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>

namespace kelm
{

// The error of all parsing: a message and the place that it is about.
class KLUTILS_API LexScannerException : public MessageException
{
public:
    // An error at the first character of `t`, in a line not yet known.
    LexScannerException(const xstring& description, LSToken t);
    LexScannerException(const LexScannerException& other);
    LexScannerException& operator=(const LexScannerException& other);
    ~LexScannerException() override;

    // "line 3: message"; the message alone while the line is unknown; with a file name before either.
    void Write(xostream& os) const override;

    // Fills in the line, while it is unknown, for an error in `text`.
    void LocateIn(SubString text);

    // What Write writes.
    xstring GetWrittenText() const;

    xstring m_filename;
    int64 m_lineNumber; // counted from 1; -1 while unknown
    const char* m_pos;  // into the parsed text, which may be gone when the exception is read
};

} // namespace kelm
