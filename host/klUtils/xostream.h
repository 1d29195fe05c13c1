#pragma once

#include <klUtils/BasicSubString.h>
#include <klUtils/api.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>

namespace kelm
{

// An output stream of text. A sink implements put of characters; everything else is written through it.
class KLUTILS_API xostream
{
public:
    virtual ~xostream();

    virtual void put(const char* text, long length) = 0;

    void put(bool value);   // "true" or "false"
    void put(int value);    // decimal
    void put(long value);   // decimal
    void put(double value); // as ToString(double)

protected:
    xostream() = default;
    xostream(const xostream&) = default;
    xostream& operator=(const xostream&) = default;
};

inline xostream& operator<<(xostream& os, SubString text)
{
    os.put(text.m_p1, text.size());
    return os;
}
inline xostream& operator<<(xostream& os, const xstring& text)
{
    os.put(text.data(), text.size());
    return os;
}
inline xostream& operator<<(xostream& os, ConstStringZ text)
{
    return os << SubString(text);
}
inline xostream& operator<<(xostream& os, char c)
{
    os.put(&c, 1);
    return os;
}
inline xostream& operator<<(xostream& os, bool value)
{
    os.put(value);
    return os;
}
inline xostream& operator<<(xostream& os, int value)
{
    os.put(value);
    return os;
}
inline xostream& operator<<(xostream& os, long value)
{
    os.put(value);
    return os;
}
inline xostream& operator<<(xostream& os, double value)
{
    os.put(value);
    return os;
}

// An output stream that collects its text in memory.
class KLUTILS_API StringStream : public xostream
{
public:
    // Memory is taken in steps of at least `pageSize` bytes, the first one when something is written.
    explicit StringStream(long pageSize);
    ~StringStream() override;

    using xostream::put;
    void put(const char* text, long length) override;

    // Copies the collected text into `out`: in place of what it holds when `replace` is true, behind it otherwise.
    void GetString(xstring& out, bool replace) const;
    xstring GetString() const;

private:
    xstring m_text;
    long m_pageSize;
};

} // namespace kelm
