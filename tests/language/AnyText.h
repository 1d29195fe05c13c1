#pragma once

// Texts of random values of any type of a catalogue, all of which can be read.

#include <kelmLanguage/Types.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>

namespace kelm::language
{

class AnyText
{
public:
    AnyText(const Types& types, uint64 seed) : m_types(types), m_random(seed) {}

    std::string DataSource(const std::string& className)
    {
        m_budget = 60;
        return className + " " + Body(*m_types.FindClass(className));
    }

private:
    std::size_t Below(std::size_t n) { return m_random() % n; }
    bool OneIn(std::size_t n) { return Below(n) == 0; }

    std::string Body(const CatalogueClass& entry)
    {
        std::string text = "{";
        for (const CatalogueMember& member : entry.m_members)
            if (m_budget > 0 && !OneIn(4) && CanBeGiven(member.m_type))
                text += " " + member.m_name + " = " + Value(member.m_type);
        return text + " }";
    }

    static bool HasRules(const CatalogueClass& entry)
    {
        return std::any_of(entry.m_members.begin(), entry.m_members.end(),
                           [](const CatalogueMember& member) { return member.m_isRequired || member.m_isChecked; });
    }

    static bool CanBeGiven(const TypeNode& type) { return type.m_kind != TypeKind::Set || type.m_isStandard; }

    template <class Element>
    std::string List(std::size_t count, const Element& element)
    {
        std::string text = "[";
        for (std::size_t i = 0; i < count; ++i)
            text += (i == 0 ? "" : ", ") + element(i);
        return text + "]";
    }

    std::string Number() { return std::to_string(Below(100)); }

    std::string Quoted()
    {
        static const char* const s_parts[] = {
            "a", " ", "\\\"", "\\\\", "\\n", "'", "é", "\\x01", "//", "}", "\xF0\x9F\x8C\xB1", "null"};
        std::string text = "\"";
        for (std::size_t n = Below(5); n > 0; --n)
            text += s_parts[Below(std::size(s_parts))];
        return text + "\"";
    }

    std::string Integer(const std::string& name)
    {
        const bool isSigned = name[0] == 'i';
        const unsigned bits = static_cast<unsigned>(std::stoi(name.substr(name.find_first_of("0123456789"))));
        const uint64 value = m_random() >> (64 - bits + (isSigned ? 1 : 0)) >> Below(bits - 1);
        return (isSigned && OneIn(3) ? "-" : "") + std::to_string(value);
    }

    std::string Float()
    {
        static const char* const s_texts[] = {"inf", "-inf", "nan", "-0.0", "1e30", "-2.5", "7", "0.1", "1e-30"};
        return s_texts[Below(std::size(s_texts))];
    }

    std::string Value(const TypeNode& written)
    {
        --m_budget;
        const TypeNode& type = m_types.UnderlyingOf(written);
        const std::size_t count = m_budget > 0 ? Below(4) : 0;
        switch (type.m_kind)
        {
        case TypeKind::Bool: return OneIn(2) ? "true" : "false";
        case TypeKind::Integer: return Integer(type.m_name);
        case TypeKind::Float: return Float();
        case TypeKind::Character: return OneIn(2) ? "'x'" : "'\\n'";
        case TypeKind::Text: return Quoted();
        case TypeKind::Duration: return "\"" + Number() + "ms\"";
        case TypeKind::Enum:
        {
            const CatalogueEnum& entry = *m_types.FindEnum(type.m_name);
            return entry.m_enumerators[Below(entry.m_enumerators.size())].m_name;
        }
        case TypeKind::Class: return Body(*m_types.FindClass(type.m_name));
        case TypeKind::Variant:
        case TypeKind::Choice:
        {
            const auto alternatives = m_types.AlternativesOf(type);
            const CatalogueAlternative& alternative = alternatives[Below(alternatives.size())];
            if (type.m_kind == TypeKind::Choice && alternative.m_type.m_kind == TypeKind::Void)
                return "null";
            return alternative.m_name + " " + Value(alternative.m_type);
        }
        case TypeKind::Array:
            return List(static_cast<std::size_t>(type.m_count), [&](std::size_t) { return Value(type.m_parts[0]); });
        case TypeKind::List:
        case TypeKind::Set: return List(count, [&](std::size_t) { return Value(type.m_parts[0]); });
        case TypeKind::Tuple: return List(type.m_parts.size(), [&](std::size_t i) { return Value(type.m_parts[i]); });
        case TypeKind::Map:
            return List(count, [&](std::size_t) { return Value(type.m_parts[0]) + " -> " + Value(type.m_parts[1]); });
        case TypeKind::Optional: return OneIn(2) ? "null" : Value(type.m_parts[0]);
        case TypeKind::Handle:
        case TypeKind::Reference:
        {
            auto classes = m_types.CreatableClassesFor(type);
            std::erase_if(classes, [](const CatalogueClass* entry) { return HasRules(*entry); });
            if (type.m_kind == TypeKind::Handle && (m_budget <= 0 || OneIn(3)))
                return "null";
            const CatalogueClass& entry = *classes[Below(classes.size())];
            return entry.m_name + " " + Body(entry);
        }
        case TypeKind::Void:
        case TypeKind::Typedef:
        case TypeKind::Other: break;
        }
        return "";
    }

    const Types& m_types;
    std::mt19937_64 m_random;
    int m_budget = 0; // of values; what is drawn beyond it is as short as possible
};

} // namespace kelm::language
