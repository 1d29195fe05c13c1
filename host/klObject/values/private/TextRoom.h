#pragma once

// Where text is written to: a buffer that grows. Whoever writes holds the end of the text as a pointer `p`, in a
// register. Behind it there is always room for s_spare characters, so that a number or a few signs need no question;
// each function that writes takes `p` and returns it, with that much room again.

#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

#include <cstdlib>
#include <cstring>
#include <new>

namespace kelm
{

class TextRoom
{
public:
    static constexpr ssize_t s_spare = 64;

    TextRoom() = default;
    TextRoom(const TextRoom&) = delete;
    TextRoom& operator=(const TextRoom&) = delete;
    ~TextRoom() { std::free(m_begin); }

    // The beginning of a text of which there is nothing yet.
    char* Begin() { return Grow(nullptr, 1000); }

    SubString GetText(const char* p) const { return {m_begin, p}; }
    ssize_t GetSize(const char* p) const { return p - m_begin; }
    char* GetAt(ssize_t size) const { return m_begin + size; }

    // Room for `count` characters and the spare ones; moves the text where there is none. Throws std::bad_alloc.
    char* MakeRoom(char* p, ssize_t count = 0) { return m_limit - p >= count ? p : Grow(p, count); }

    char* Put(char* p, SubString text)
    {
        p = MakeRoom(p, text.size());
        if (!text.empty())
            std::memcpy(p, text.m_p1, static_cast<std::size_t>(text.size()));
        return p + text.size();
    }

private:
    [[gnu::noinline]] char* Grow(const char* p, ssize_t count)
    {
        const ssize_t size = GetSize(p);
        const ssize_t doubled = 2 * (m_limit - m_begin);
        const ssize_t capacity = doubled > size + count ? doubled : size + count;
        void* const memory = std::realloc(m_begin, static_cast<std::size_t>(capacity + s_spare));
        if (memory == nullptr)
            throw std::bad_alloc();
        m_begin = static_cast<char*>(memory);
        m_limit = m_begin + capacity;
        return m_begin + size;
    }

    char* m_begin = nullptr;
    char* m_limit = nullptr; // where the spare characters of a full buffer begin
};

} // namespace kelm
