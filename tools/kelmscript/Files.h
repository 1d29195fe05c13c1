#pragma once

#include "FileDescriptor.h"
#include "Source.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kelm::tool
{

// The most octets that a file, or a line of one, may have; a gigabyte unless set.
void SetSizeLimit(std::size_t numOctets);
std::size_t GetSizeLimit();
std::string SizeLimitText();

// The contents of a file.
class FileText
{
public:
    FileText(std::string name, char* text, std::size_t size) : m_name(std::move(name)), m_text(text), m_size(size) {}

    // Valid as long as this is.
    SourceText Source() const { return {m_name, WithoutByteOrderMark({m_text.get(), m_size})}; }

private:
    struct Free
    {
        void operator()(char* p) const { std::free(p); } // NOLINT: grown by realloc
    };
    std::string m_name;
    std::unique_ptr<char, Free> m_text;
    std::size_t m_size;
};

// What people are told a file is: "-" is standard input.
std::string NameOfFile(const std::string& path);

// Opens a file to be read; standard input may be anything, others must be regular files, so that none makes the tool
// wait or goes on for ever. Not open, after an error was reported, where that cannot be.
FileDescriptor OpenFile(const std::string& path);

// The whole of a file. Nothing, after an error was reported, where it cannot be read.
std::optional<FileText> ReadFile(const std::string& path);

// Errors about files: "cannot read FILE: why".
std::string ErrnoText();
void ReportUnreadable(const std::string& name, const std::string& why);

// Gives a file new contents, as a careful editor does. They are written beside it, reach the disk, and take its place:
// whoever looks at any moment, after a crash too, finds one whole file. Symbolic links are followed. The owner, the
// group, the permissions, extended attributes and access lists are kept. Where one of that cannot be kept, and for what
// is no regular file, cannot be written, has set-id bits or further hard links, nothing is changed. False, after an
// error was reported, where nothing was.
bool ReplaceFile(const std::string& path, std::string_view contents);

} // namespace kelm::tool
