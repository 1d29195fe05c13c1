#include <klUtils/xostream.h>

#include <klUtils/ToString.h>

namespace kelm
{

xostream::~xostream() = default;

void xostream::put(bool value)
{
    *this << (value ? "true" : "false");
}

void xostream::put(int value)
{
    *this << NumberText(value);
}

void xostream::put(long value)
{
    *this << NumberText(value);
}

void xostream::put(double value)
{
    *this << NumberText(value);
}

StringStream::StringStream(long pageSize) : m_pageSize(pageSize) {}

StringStream::~StringStream() = default;

void StringStream::put(const char* text, long length)
{
    if (length > m_text.capacity() - m_text.size())
        m_text.reserve(m_text.capacity() + (length > m_pageSize ? length : m_pageSize) + m_text.size());
    m_text.append(text, length);
}

void StringStream::GetString(xstring& out, bool replace) const
{
    if (replace)
        out = m_text;
    else
        out.append(m_text);
}

xstring StringStream::GetString() const
{
    return m_text;
}

} // namespace kelm
