#include <kelmDocument/Update.h>

#include <kelmDocument/private/Locate.h>
#include <kelmDocument/private/Subject.h>
#include <kelmDocument/private/Updater.h>

#include <kelm/private/errors/ErrorOf.h>
#include <kelm/private/files/FileText.h>
#include <kelm/private/files/WholeTexts.h>

#include <utility>

namespace kelm
{

namespace
{

// The text that a program would write anew, or why it cannot.
Result<std::string> WholeText(const DocumentPolicy& policy, const void* value, const Object& object)
{
    return policy.GetType() != nullptr ? WriteText(*policy.GetType(), value) : WriteText(object);
}

} // namespace

Result<std::string> UpdateDocument(const NamedDocument& named, const DocumentPolicy& policy, const void* value,
                                   const Object& object)
{
    const Result<std::string> whole = WholeText(policy, value, object);
    if (!whole)
        return whole.GetError();
    const std::string_view name = named.m_path != nullptr ? std::string_view(named.m_path->GetText()) : s_textName;
    return Attempt({name, named.m_text}, {},
                   [&]
                   {
                       const editing::Reading reading(policy);
                       Document document = Document::Parse(std::string(named.m_text));
                       const editing::Subject before(reading, document, name);
                       editing::Updater updater(document, reading);
                       const Span all = editing::FindDataSource(document, reading.IsExact());
                       auto* const after = const_cast<void*>(value); // which is read alone
                       if (policy.GetType() != nullptr)
                           updater.Update(all, before.GetType(), before.GetData(), after);
                       else
                           updater.UpdateObject(all, before.GetObject(), object.GetHandle());
                       if (document.GetText() == named.m_text)
                           return std::string(named.m_text);
                       const editing::Subject reached(reading, document, name);
                       const bool isReached = policy.GetType() != nullptr
                                                  ? reading.Written(reached.GetType(), value) == reached.Written()
                                                  : reading.Written(object.GetHandle()) == reached.Written();
                       if (!isReached)
                           throw ErrorWithoutPlace(ErrorKind::Type,
                                                   "no text can say this here: reading would give another value",
                                                   std::string(name));
                       return std::string(document.GetText());
                   });
}

Result<FileVersion> FileVersion::Load(const FilePath& path)
{
    const Result<FileText> file = LoadFile(path.GetText());
    return file ? Result<FileVersion>(FileVersion(path, std::string(file->View()))) : file.GetError();
}

Result<bool> FileVersion::Replace(std::string text)
{
    const Result<FileVersion> now = Load(m_path);
    if (!now)
        return now.GetError();
    if (now->m_text != m_text)
        return CannotWrite(m_path.GetText(), "it has been changed since it was read");
    if (text == m_text)
        return false;
    if (const std::string why = ReplaceFile(m_path.GetText(), text); !why.empty())
        return CannotWrite(m_path.GetText(), why);
    m_text = std::move(text);
    return true;
}

} // namespace kelm
