#pragma once

// Programs' objects written back into the texts and files that they came from. Only what differs is changed: comments,
// layout, order, and defaults that are not written, stay as people left them.
//
//     kelm::OpenFile<Settings> file("settings.kds"); // read as kelm::ReadFile reads it
//     file->width = 1200;
//     file.Update();                                 // refused where somebody has changed the file since
//
// Elements of lists are matched with those that are written, so that an element that is put in or taken out changes no
// other; entries of maps are matched by their keys. A value that does not differ from what the text says is not
// touched, however it is written.
//
// Failures are kelm::Error: that a text or file cannot be read as a T, that the value cannot be written, that reading
// would refuse it (a check), that the file has been changed in between. Nothing is changed then.

#include <kelm/Files.h>
#include <kelmDocument/Policy.h>
#include <kelmDocument/api.h>

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace kelm
{

// The text with what differs from the value; it reads as the value.
template <class T>
std::string Update(std::string_view text, const T& value, UnknownMembers unknown = UnknownMembers::Refuse);
template <class T>
Result<std::string> TryUpdate(std::string_view text, const T& value, UnknownMembers unknown = UnknownMembers::Refuse);

// A file that is there, whatever it says now. Written whole or not at all; not at all where it says that already, of
// which false is returned. Refused where it changes while this runs.
template <class T>
bool UpdateFile(const FilePath& path, const T& value, UnknownMembers unknown = UnknownMembers::Refuse);
template <class T>
Result<bool> TryUpdateFile(const FilePath& path, const T& value, UnknownMembers unknown = UnknownMembers::Refuse);

// --- Files that are kept open for changes

// A file's text, as it was read.
class KELM_DOCUMENT_API FileVersion
{
public:
    static Result<FileVersion> Load(const FilePath& path);

    const FilePath& GetPath() const { return m_path; }
    std::string_view GetText() const { return m_text; }

    // Replaces the file's text, unless the file has another one than this by now. False where it is the same.
    Result<bool> Replace(std::string text);

private:
    FileVersion(FilePath path, std::string text) : m_path(std::move(path)), m_text(std::move(text)) {}

    FilePath m_path;
    std::string m_text;
};

// A T that lies in a file. (Of an object with handles, a Root<T>.)
template <class T>
class OpenFile
{
public:
    // Reads it; throws as kelm::ReadFile does.
    explicit OpenFile(const FilePath& path, UnknownMembers unknown = UnknownMembers::Refuse)
        : m_version(*FileVersion::Load(path))
        , m_unknown(unknown)
        , m_value(ReadFrom<T>(TextPlace(m_version.GetPath(), m_version.GetText()), unknown))
    {
    }

    T& operator*() { return m_value; }
    const T& operator*() const { return m_value; }
    auto* operator->() { return PointerTo(m_value); }
    const auto* operator->() const { return PointerTo(m_value); }

    // Writes what differs; what the file says then is what the next call goes from. Refused where the file has been
    // changed by others since: who wants their changes reads it again, who does not calls UpdateFile. Returns whether
    // the file is another one now.
    bool Update() { return *TryUpdate(); }
    Result<bool> TryUpdate();

private:
    template <class Value>
    static auto* PointerTo(Value& value)
    {
        if constexpr (IsRoot<T>)
            return &*value;
        else
            return &value;
    }

    FileVersion m_version;
    UnknownMembers m_unknown;
    T m_value;
};

// --- The inside

// A text, and the name of the file that it is from: null for none.
struct NamedDocument
{
    std::string_view m_text;
    const FilePath* m_path = nullptr;
};

// To a value of the policy's type, or where that is none to an object.
KELM_DOCUMENT_API Result<std::string> UpdateDocument(const NamedDocument& document, const DocumentPolicy& policy,
                                                     const void* value, const Object& object);

template <class T>
Result<std::string> TryUpdateDocument(const NamedDocument& document, const T& value, UnknownMembers unknown)
{
    const DocumentPolicy policy = DocumentPolicy::Of<T>(unknown);
    if constexpr (std::is_same_v<T, Object>)
        return UpdateDocument(document, policy, nullptr, value);
    else if constexpr (IsRoot<T>)
        return UpdateDocument(document, policy, &*value, Object());
    else
        return UpdateDocument(document, policy, &value, Object());
}

template <class T>
Result<std::string> TryUpdate(std::string_view text, const T& value, UnknownMembers unknown)
{
    if constexpr (CheckDescribable<DescribedInType<T>>())
        return TryUpdateDocument({text}, value, unknown);
    else
        return GetErrorOfNone();
}

template <class T>
Result<bool> OpenFile<T>::TryUpdate()
{
    Result<std::string> text = TryUpdateDocument({m_version.GetText(), &m_version.GetPath()}, m_value, m_unknown);
    return text ? m_version.Replace(*std::move(text)) : Result<bool>(text.GetError());
}

template <class T>
std::string Update(std::string_view text, const T& value, UnknownMembers unknown)
{
    return *TryUpdate(text, value, unknown);
}

template <class T>
Result<bool> TryUpdateFile(const FilePath& path, const T& value, UnknownMembers unknown)
{
    if constexpr (CheckDescribable<DescribedInType<T>>())
    {
        Result<FileVersion> version = FileVersion::Load(path);
        if (!version)
            return version.GetError();
        Result<std::string> text = TryUpdateDocument({version->GetText(), &path}, value, unknown);
        return text ? version->Replace(*std::move(text)) : Result<bool>(text.GetError());
    }
    else
        return GetErrorOfNone();
}

template <class T>
bool UpdateFile(const FilePath& path, const T& value, UnknownMembers unknown)
{
    return *TryUpdateFile(path, value, unknown);
}

} // namespace kelm
