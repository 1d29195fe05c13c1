#pragma once

// Texts with a mark where somebody's cursor is, and the types of the example module, which they are written in.

#include <kelmDocument/Document.h>
#include <kelmLanguage/Types.h>

#include "Garden.h"
#include "People.h"

#include <string>
#include <string_view>

namespace kelm::language
{

inline const Types& ExampleTypes()
{
    static const Types s_types = []
    {
        using namespace people;
        using namespace garden;
        RegisterTypes<Role, Address, Contact, Person, Club>(nullptr);
        RegisterTypes<Season, Level, Metres, garden::Point, Colour, Material, Plant, Circle, Rectangle, Outline, Shape,
                      Pond, Layer, Plan>(nullptr);
        return Types(CatalogueOfRegisteredTypes());
    }();
    return s_types;
}

// "a = | b" is a document without the bar, and where that was.
struct MarkedText
{
    explicit MarkedText(std::string text) : m_at(text.find('|')), m_document(Document::Parse(Without(text, m_at))) {}

    static std::string Without(std::string text, std::size_t at) { return text.erase(at, 1); }

    std::size_t m_at;
    Document m_document;
};

} // namespace kelm::language
