#include <kelm/Files.h>

#include <kelm/private/errors/ErrorOf.h>
#include <kelm/private/files/FileDescriptor.h>
#include <kelm/private/files/FileText.h>
#include <kelm/private/files/WholeTexts.h>
#include <klKelmScript/private/RuledReading.h>
#include <klObject/values/WriteVariable.h>
#include <klUtils/text/ExpressionParser.h>
#include <klUtils/xostream.h>

#include <cerrno>
#include <cstring>
#include <limits>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>

namespace kelm
{

namespace
{

// --- reading

// Reads `source` from its first token to its last. A value that its type refuses is the last token that was read.
template <class F>
auto ReadWhole(const SourceText& source, const F& read)
{
    std::string fieldPath;
    return Attempt(source, fieldPath,
                   [&]
                   {
                       ExpressionParser parser;
                       try
                       {
                           parser.Init(source.View());
                           return read(parser, fieldPath);
                       }
                       catch (const KelmAssertionError& e)
                       {
                           throw ErrorOf(e, source, parser.m_prevToken, fieldPath);
                       }
                   });
}

void RequireEnd(const ExpressionParser& parser)
{
    if (parser.GetTokenType() != TOKEN_END)
        parser.ThrowExpectedException("end of text");
}

Error CannotRead(const std::string& path, const std::string& why)
{
    return ErrorWithoutPlace(ErrorKind::File, "cannot read " + path + ": " + why, path);
}

// What is wrong with a file that is open; empty where it can be read to an end.
std::string WhyUnreadable(int file)
{
    struct stat status = {};
    if (fstat(file, &status) != 0)
        return ErrnoText();
    if (S_ISDIR(status.st_mode))
        return std::strerror(EISDIR);
    return S_ISREG(status.st_mode) || S_ISFIFO(status.st_mode) ? "" : "it is neither a regular file nor a pipe";
}

// Calls read(source) with what is there.
template <class F>
auto WithSource(std::string_view text, const FilePath* path, const F& read) -> std::invoke_result_t<F, SourceText>
{
    if (path == nullptr || text.data() != nullptr)
        return read(SourceText{path == nullptr ? s_textName : path->GetText(), WithoutByteOrderMark(text)});
    const Result<FileText> file = LoadFile(path->GetText());
    if (!file)
        return file.GetError();
    return read(SourceText{path->GetText(), WithoutByteOrderMark(file->View())});
}

// --- writing

constexpr int s_indent = 4;

class TextOutput : public xostream
{
public:
    using xostream::put;
    void put(const char* text, long length) override { m_text.append(text, static_cast<std::size_t>(length)); }

    std::string m_text;
};

template <class F>
Result<std::string> TextOf(const F& write)
{
    return Attempt({}, {},
                   [&]
                   {
                       TextOutput text;
                       write(text, WriteOptions{.m_indent = s_indent, .m_isWhole = true});
                       return std::move(text.m_text);
                   });
}

} // namespace

Result<FileText> LoadFile(const std::string& path)
{
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    std::string why = file.IsOpen() ? WhyUnreadable(file.get()) : ErrnoText();
    if (!why.empty())
        return CannotRead(path, why);
    if (std::optional<FileText> text = ReadRest(file.get(), std::numeric_limits<std::size_t>::max() / 2, why))
        return std::move(*text);
    return CannotRead(path, why);
}

Result<void> ReadWholeText(const SourceText& source, const UsedType& type, void* data, UnknownMembers unknown)
{
    const ReadingRules rules = {.m_passesUnknown = unknown == UnknownMembers::PassOver};
    return ReadWhole(source,
                     [&](ExpressionParser& parser, std::string& fieldPath)
                     {
                         ReadByRules(parser, rules, type.Get(), data, fieldPath);
                         RequireEnd(parser);
                     });
}

Result<Object> ReadWholeObject(const SourceText& source, UnknownMembers unknown)
{
    const ReadingRules rules = {.m_passesUnknown = unknown == UnknownMembers::PassOver};
    return ReadWhole(source,
                     [&](ExpressionParser& parser, std::string& fieldPath)
                     {
                         Object object(ReadObjectByRules(parser, rules, fieldPath));
                         RequireEnd(parser);
                         return object;
                     });
}

void TextPlace::Read(const UsedType& type, void* data, UnknownMembers unknown) const
{
    *TryRead(type, data, unknown);
}

Result<void> TextPlace::TryRead(const UsedType& type, void* data, UnknownMembers unknown) const
{
    return WithSource(m_text, m_path,
                      [&](const SourceText& source) { return ReadWholeText(source, type, data, unknown); });
}

Result<Object> TextPlace::TryReadObject(UnknownMembers unknown) const
{
    return WithSource(m_text, m_path, [&](const SourceText& source) { return ReadWholeObject(source, unknown); });
}

Result<std::string> WriteText(const UsedType& type, const void* data)
{
    return TextOf([&](xostream& os, const WriteOptions& options) { WriteVariable(os, type.Get(), data, options); });
}

Result<std::string> WriteText(const Object& object)
{
    return TextOf([&](xostream& os, const WriteOptions& options) { WriteObject(os, object.GetHandle(), options); });
}

Error CannotWrite(const std::string& path, const std::string& why)
{
    return ErrorWithoutPlace(ErrorKind::File, "cannot write " + path + ": " + why, path);
}

Result<void> WriteTextFile(const FilePath& path, const Result<std::string>& text)
{
    if (!text)
        return text.GetError();
    const std::string why = MakeOrReplaceFile(path.GetText(), *text + "\n");
    if (!why.empty())
        return CannotWrite(path.GetText(), why);
    return {};
}

} // namespace kelm
