#pragma once

// Values that are not in a text yet, as short as people write them: of classes the members that differ from what
// creation gives.

#include <kelmDocument/private/Version.h>

#include <cstddef>
#include <string>

namespace kelm::editing
{

class NewText
{
public:
    explicit NewText(Versions& versions) : m_versions(versions) {}

    // All behind what is there. Of a value that is read over `fresh`; or into what is new.
    void Append(std::string& text, const Version& fresh, const Version& made);
    void Append(std::string& text, const Version& made);

    // Of the object of a handle.
    void AppendObject(std::string& text, const ptr<IObject>& object, const Version& made);

    // Of a list, of which so many elements are written; of a set or map.
    void AppendElement(std::string& text, const Spot& list, const Version& made, std::size_t index);
    void AppendEntry(std::string& text, const Spot& map, const Version& made, std::size_t index);

private:
    void AppendItems(std::string& text, const Spot& spot, const Version& fresh, const Version& made);
    void AppendBody(std::string& text, const ReflectedClass& rc, const Version& fresh, const Version& made);

    Versions& m_versions;
};

// Of a list of a fixed size.
ReflectionByteCode TypeOfElement(const Spot& list, ssize_t index);

// What a variant or an optional holds; false where that is nothing.
struct Held
{
    ReflectionByteCode m_type = {};
    void* m_data = nullptr;
};
bool FindHeld(const Spot& choice, int32& index, Held& held);

// The object of a handle or a persistent reference.
ptr<IObject> ObjectOf(const Spot& spot);

// A value that is longer, with what is before it, is laid out over several lines.
inline constexpr std::size_t s_longestLine = 100;

// A text without line breaks, on several lines where it is too long for one.
std::string OverLines(std::string text, const std::string& indent, const std::string& newLine);

} // namespace kelm::editing
