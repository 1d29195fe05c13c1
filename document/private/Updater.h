#pragma once

// Brings what is written to another value, part by part, where they differ.

#include <kelmDocument/Document.h>
#include <kelmDocument/private/Layout.h>
#include <kelmDocument/private/NewText.h>
#include <kelmDocument/private/Spot.h>
#include <kelmDocument/private/Subject.h>
#include <kelmDocument/private/Version.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace kelm::editing
{

// Of a document that is read by the front door's rules, where whatever is written says all of a list or map. Goes
// through the text from its end to its beginning, so that places before stay as they are.
class Updater
{
public:
    Updater(Document& document, const Reading& reading)
        : m_document(document), m_layout(document), m_versions(reading), m_newText(m_versions)
    {
    }
    Updater(const Updater&) = delete;
    Updater& operator=(const Updater&) = delete;

    // What is written at `value` reads as `before`, and is to read as `after`.
    void Update(Span value, const ReflectionByteCode& type, void* before, void* after);
    void UpdateObject(Span value, const ptr<IObject>& before, const ptr<IObject>& after);

private:
    // What a handle designates.
    struct Target
    {
        ptr<IObject> m_object;
        Version m_version;
    };

    Part Brackets(Span value) const;
    bool IsTooMuch(std::size_t numMoved) const;
    void ReadKey(std::string_view text, const ReflectionByteCode& type, void* key) const;

    void UpdateValue(Span value, const Version& before, const Version& after);
    void UpdateTarget(Span value, const Target& before, const Target& after);
    void UpdateBody(Span value, const ReflectedClass& rc, const Version& before, const Version& after);
    void UpdateFixedList(Span value, const Version& before, const Version& after);
    void UpdateList(Span value, const Version& before, const Version& after);
    void UpdateMap(Span value, const Version& before, const Version& after);
    void UpdateChoice(Span value, const Version& before, const Version& after);
    void Replace(Span value, const Version& after);
    std::string LaidOut(std::string text, std::size_t place, bool isItem) const;

    Document& m_document;
    Layout m_layout;
    Versions m_versions;
    NewText m_newText;
};

} // namespace kelm::editing
