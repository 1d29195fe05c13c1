#pragma once

// ExactText: a text with nothing behind it. It ends where a page that may not be read begins, so that whoever reads
// beyond it ends at once, with sanitizers or without.

#include <klUtils/BasicSubString.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <new>
#include <string_view>

namespace kelm
{

class ExactText
{
public:
    explicit ExactText(std::string_view text)
    {
        const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
        const std::size_t readable = (text.size() + page) / page * page;
        m_size = readable + page;
        m_pages = ::mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        char* const end = static_cast<char*>(m_pages) + readable;
        if (m_pages == MAP_FAILED || ::mprotect(end, page, PROT_NONE) != 0)
            throw std::bad_alloc();
        m_view = {end - text.size(), end};
        if (!text.empty())
            std::memcpy(end - text.size(), text.data(), text.size());
    }
    ExactText(const ExactText&) = delete;
    ExactText& operator=(const ExactText&) = delete;
    ~ExactText() { ::munmap(m_pages, m_size); }

    SubString View() const { return m_view; }
    const char* begin() const { return m_view.m_p1; }
    const char* end() const { return m_view.m_p2; }

private:
    void* m_pages = nullptr;
    std::size_t m_size = 0;
    SubString m_view;
};

} // namespace kelm
