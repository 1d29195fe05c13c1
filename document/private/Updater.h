#pragma once

// Brings what is written to another value, part by part, where they differ.

#include <kelmDocument/Document.h>
#include <kelmDocument/private/Layout.h>
#include <kelmDocument/private/Spot.h>
#include <kelmDocument/private/Subject.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::editing
{

// Of a document that is read by the front door's rules, where whatever is written says all of a list or map. Goes
// through the text from its end to its beginning, so that places before stay as they are.
class Updater
{
public:
    Updater(Document& document, const Reading& reading) : m_document(document), m_layout(document), m_reading(reading)
    {
    }

    // What is written at `value` reads as `before`, and is to read as `after`.
    void Update(Span value, const ReflectionByteCode& type, void* before, void* after);
    void UpdateObject(Span value, const ptr<IObject>& before, const ptr<IObject>& after);

private:
    // What a list or map is written as, in pieces.
    struct Pieces
    {
        std::string m_text;
        std::vector<Item> m_items;

        std::string_view Element(std::size_t i) const { return m_items[i].m_value.In(m_text); }
        std::vector<std::string_view> Elements() const
        {
            std::vector<std::string_view> elements(m_items.size());
            for (std::size_t i = 0; i < elements.size(); ++i)
                elements[i] = Element(i);
            return elements;
        }
        std::string_view Key(std::size_t i) const { return m_items[i].m_key.In(m_text); }
    };

    bool AreEqual(const ReflectionByteCode& type, const void* a, const void* b) const;
    Pieces PiecesOf(const ReflectionByteCode& type, const void* data) const;
    Part Brackets(Span value) const;
    bool IsTooMuch(std::size_t numMoved) const;
    void ReadKey(std::string_view text, const ReflectionByteCode& type, void* key) const;

    void UpdateBody(Span value, const ReflectedClass& rc, char* before, char* after);
    void UpdateFixedList(Span value, const Spot& before, const Spot& after);
    void UpdateList(Span value, const Spot& before, const Spot& after);
    void UpdateMap(Span value, const Spot& before, const Spot& after);
    void UpdateChoice(Span value, const Spot& before, const Spot& after);
    void UpdateVariant(Span value, const Spot& before, const Spot& after);

    // --- New texts

    void Replace(Span value, const ReflectionByteCode& type, void* after);
    std::string ElementText(const Spot& list, std::size_t index, std::string_view written) const;
    std::string FixedElementText(const Spot& fresh, const Spot& list, std::size_t index) const;
    std::string EntryText(const Spot& map, const Pieces& pieces, std::size_t index) const;
    std::string NewText(const ReflectionByteCode& type, void* fresh, void* data) const;
    std::string NewAlternative(const Spot& choice, const ReflectionByteCode& type, void* value) const;
    std::string NewObject(const ptr<IObject>& object) const;
    std::string NewBody(const ReflectedClass& rc, char* fresh, char* data) const;
    std::string LaidOut(std::string text, std::size_t place, bool isItem) const;

    Document& m_document;
    Layout m_layout;
    const Reading& m_reading;
};

} // namespace kelm::editing
