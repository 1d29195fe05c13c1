#pragma once

// One edit of a copy of a document, which the editor takes where it has worked.

#include <kelmDocument/Document.h>
#include <kelmDocument/private/Layout.h>
#include <kelmDocument/private/Locate.h>
#include <kelmDocument/private/Subject.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::editing
{

// From its first token to its last.
std::string_view WithoutMargins(std::string_view text);

class Edit
{
public:
    // Of a value, which errors show as it is said.
    Edit(const Document& document, const Reading& reading, std::string_view said);

    void Set(std::string_view path, std::string_view value);
    void Add(std::string_view path, std::string_view value);
    void Remove(std::string_view path);
    void Insert(std::string_view path, std::string_view value);
    void Rename(std::string_view path, std::string_view name);
    void Move(std::string_view from, std::string_view to);

    // The changed document, which reads as it was to.
    Document Take(std::string_view path);

private:
    using Spots = std::vector<Spot>;

    Spots Find(std::string_view path, Purpose purpose) const { return Locate(m_document, *m_subject, path, purpose); }
    void ReadAgain() { m_subject = std::make_unique<Subject>(m_reading, m_document); }
    // What was said is read with its margins, so that errors show it as it is.
    void ReadValue(std::string_view text, const ReflectionByteCode& type, void* data) const
    {
        m_reading.ReadValue("<value>", text == m_saidAlone ? m_said : text, type, data);
    }
    bool CanRead(std::string_view text, const ReflectionByteCode& type) const;

    // --- What reading is to give in the end

    void ExpectValue(std::string_view path, std::optional<std::string> expected);
    void ExpectListsOf(const std::string& path, const Spot& spot, const std::string& text);
    void ExpectWithout(std::string_view path, const Spots& spots);

    // --- Values

    void SetWhole(std::string_view path, Spots spots, std::string text);
    void SetComposite(std::string_view path, const std::string& text);
    void SetText(std::string_view path, const Spots& spots, std::size_t i, const std::string& text);
    void WriteOut(std::string_view path, const Spots& spots, std::size_t i);
    void PutMember(const Spot& outer, const std::string& name, const std::string& text);
    void AddTo(const std::string& path, const std::string& text);
    void AddElements(const Spots& spots, const std::string& text);
    void AddEntries(const std::string& path, const Spots& spots, const Document& value, std::span<const Item> items);
    void PutEntries(std::string_view path, const Spots& spots, std::size_t i, const std::string& entries);
    std::string KeyText(const Spot& map, const Spot& payload) const;

    // --- Items

    void InsertInto(std::string_view path, const Spots& spots, std::size_t i, const std::string& text);
    void RemoveMentions(std::string_view path, Spots& spots, std::size_t numKept);
    bool NameIfPositional(const Spot& outer, const Mention& mention);
    void RemoveMention(const Spot& outer, const Spot& spot, const Mention& mention);
    void WriteOutNextKey(const Spot& map, const Mention& removed);
    void ReadFor(std::string_view said, std::size_t place, std::string_view text, const ReflectionByteCode& type,
                 void* data) const;
    void RenameTo(std::string_view path, const Spots& spots, const std::string& text, std::string_view said,
                  std::size_t place);

    Document m_document;
    std::string_view m_said;      // the value
    std::string_view m_saidAlone; // without margins
    Layout m_layout;
    Reading m_reading;
    std::unique_ptr<Subject> m_subject; // what the document was read as, and is made to be what is expected
    bool m_isMade = false;              // has been
    bool m_isWholeExpected = false;     // of the object in the end; otherwise the checks tell
    std::vector<std::function<bool(const Subject&)>> m_checks;
};

inline constexpr char s_isMade[] = "it is not written: creation made it, and a text cannot change that";

} // namespace kelm::editing
