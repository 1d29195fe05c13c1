#pragma once

// Files as wholes: read into memory, and replaced.

#include <kelm/api.h>

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kelm
{

// What the last failed call of the system says.
KELM_API std::string ErrnoText();

// The contents of a file.
class FileText
{
public:
    FileText(char* text, std::size_t size) : m_text(text), m_size(size) {}

    std::string_view View() const { return {m_text.get(), m_size}; }

private:
    struct Free
    {
        void operator()(char* p) const { std::free(p); } // NOLINT: grown by realloc
    };
    std::unique_ptr<char, Free> m_text;
    std::size_t m_size;
};

// The rest of an open file, where that is no more than so many octets. Nothing, and why, where it cannot be read; a
// file that is longer leaves `why` empty.
KELM_API std::optional<FileText> ReadRest(int file, std::size_t maxSize, std::string& why);

// Gives a file new contents, as a careful editor does. They are written beside it, reach the disk, and take its place:
// whoever looks at any moment, after a crash too, finds one whole file. Symbolic links are followed. The owner, the
// group, the permissions, extended attributes and access lists are kept. Where one of that cannot be kept, and for what
// is no regular file, cannot be written, has set-id bits or further hard links, nothing is changed. Empty, or why it
// was not done.
KELM_API std::string ReplaceFile(const std::string& path, std::string_view contents);

// The same, and where there is no file yet, makes one.
KELM_API std::string MakeOrReplaceFile(const std::string& path, std::string_view contents);

} // namespace kelm
