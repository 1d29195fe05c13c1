#pragma once

// What is wrong with a path, as a text.

#include <klKelmScript/private/PathPosition.h>
#include <klUtils/text/private/Messages.h>
#include <klUtils/text/private/TypedReads.h>
#include <klUtils/xostream.h>

#include <cstring>
#include <utility>

namespace kelm
{

// To an xostream or what is used as one.
template <class Stream>
void WriteMessage(Stream& os, const PathProblem& problem, const LSToken& token)
{
    switch (problem.m_fault) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case PathFault::NotScanned: break; // GCOVR_EXCL_LINE: the scanner's own message is shown
    case PathFault::Expected: text::WriteExpected(os, problem.m_subject, token); break;
    case PathFault::IndexOutOfType: text::WriteOutOfRange(os, false, token, text::s_typeName<int32>); break;
    case PathFault::NegativeIndexOutOfType: text::WriteOutOfRange(os, true, token, text::s_typeName<int32>); break;
    case PathFault::UnknownField:
        os << "Identifier " << token.m_str << " is not a model field of class " << problem.m_subject;
        break;
    case PathFault::IndexOutOfRange: os << problem.m_subject << " index " << problem.m_index << " out of range"; break;
    case PathFault::NullDereference: os << "null dereference"; break;
    case PathFault::NoFields: os << "No field " << token << " here: this is not an instance of a class"; break;
    case PathFault::NoElements: os << "No elements here: this is not a container"; break;
    case PathFault::UnknownKey: os << "Key " << token << " is not in the map"; break;
    }
}

// A stream that collects a message where there is room for nearly every one, and hands it over in the end. Texts go
// there without a virtual call.
class PathMessageStream final : public xostream
{
public:
    using xostream::put;
    void put(const char* text, long length) override { Put(text, length); }

    void MoveTo(xstring& text)
    {
        if (m_longText.empty()) [[likely]]
            return text.assign(m_buffer, m_size);
        m_longText.append(m_buffer, m_size);
        text.swap(m_longText);
    }

    friend PathMessageStream& operator<<(PathMessageStream& os, SubString text)
    {
        os.Put(text.m_p1, text.size());
        return os;
    }
    friend PathMessageStream& operator<<(PathMessageStream& os, ConstStringZ text)
    {
        os.Put(text, static_cast<long>(std::strlen(text)));
        return os;
    }
    template <class T>
    friend PathMessageStream& operator<<(PathMessageStream& os, const T& value)
    {
        static_cast<xostream&>(os) << value;
        return os;
    }

private:
    static constexpr ssize_t s_capacity = 256;

    [[gnu::always_inline]] void Put(const char* text, long length)
    {
        if (length > s_capacity - m_size) [[unlikely]]
            return PutAtOnce(text, length);
        std::memcpy(m_buffer + m_size, text, static_cast<std::size_t>(length));
        m_size += length;
    }
    [[gnu::noinline]] void PutAtOnce(const char* text, long length)
    {
        m_longText.append(m_buffer, std::exchange(m_size, 0));
        m_longText.append(text, length);
    }

    char m_buffer[s_capacity];
    ssize_t m_size = 0;
    xstring m_longText; // what came before the buffer's
};

} // namespace kelm
