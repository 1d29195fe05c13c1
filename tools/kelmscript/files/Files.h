#pragma once

#include <kelm/private/errors/Source.h>
#include <kelm/private/files/FileDescriptor.h>
#include <kelm/private/files/FileText.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kelm::tool
{

// The most octets that a file, or a line of one, may have; a gigabyte unless set.
void SetSizeLimit(std::size_t numOctets);
std::size_t GetSizeLimit();
std::string SizeLimitText();

// The contents of a file, with the name that errors show.
struct NamedText
{
    std::string m_name;
    FileText m_text;

    // Valid as long as this is.
    SourceText Source() const { return {m_name, WithoutByteOrderMark(m_text.View())}; }
};

// What people are told a file is: "-" is standard input.
std::string NameOfFile(const std::string& path);

// Opens a file to be read; standard input may be anything, others must be regular files, so that none makes the tool
// wait or goes on for ever. Not open, after an error was reported, where that cannot be.
FileDescriptor OpenFile(const std::string& path);

// The whole of a file. Nothing, after an error was reported, where it cannot be read.
std::optional<NamedText> ReadFile(const std::string& path);

// The same, where nothing is reported, but told why.
std::optional<NamedText> TryReadFile(const std::string& path, std::string& why);

// Why a file that is none is not read as a text.
inline constexpr char s_isNoText[] = "it is no text";

// Errors about files: "cannot read FILE: why".
std::string UnreadableText(const std::string& name, const std::string& why);
void ReportUnreadable(const std::string& name, const std::string& why);

// Gives a file new contents, or leaves it as it was: kelm/private/files/FileText.h has the terms. False, after an error
// was reported, where it was left.
bool ReplaceFile(const std::string& path, std::string_view contents);

} // namespace kelm::tool
