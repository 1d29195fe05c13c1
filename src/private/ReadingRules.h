#pragma once

// By which rules data sources are read. The reader is a template over one of these; what ExactRules leaves out costs
// nothing.

#include <klKelmScript/private/ReadingTrail.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

#include <string>
#include <type_traits>

namespace kelm
{

// What a program may choose.
struct ReadingRules
{
    bool m_passesUnknown = false; // members that a class does not have are passed over whole
};

// Those of ParseDataSource.h.
struct ExactRules
{
    static constexpr bool s_isRuled = false;
    static constexpr bool s_goesOn = false; // behind errors

    struct FieldFacts
    {
        FieldFacts() = default;
        FieldFacts(const ReflectedClass&, ssize_t) {}
        explicit FieldFacts(const ReflectedField&) {}
    };
    struct Members
    {
    };
    struct KeyScope
    {
        KeyScope(const ReflectionByteCode&, void*) {}
    };

    template <class GetIndex, class Read>
    static auto AtIndex(const GetIndex&, const Read& read)
    {
        return read();
    }
    template <class Read>
    static auto AtKey(SubString, const Read& read)
    {
        return read();
    }
    template <class Read>
    static auto AtMember(ConstStringZ, const Read& read)
    {
        return read();
    }
};

// Those of RuledReading.h.
struct ProgramRules
{
    static constexpr bool s_isRuled = true;
    static constexpr bool s_goesOn = false;

    // What reading takes to know of a field beside its type.
    struct FieldFacts
    {
        FieldFacts() = default;
        FieldFacts(const ReflectedClass& model, ssize_t i)
            : m_name(model.m_modelFields[i].m_name)
            , m_check(model.m_rules != nullptr ? model.m_rules[i].m_check : nullptr)
        {
        }
        explicit FieldFacts(const ReflectedField& field) : m_name(field.m_name) {}

        ConstStringZ m_name = nullptr;
        bool (*m_check)(const void* value) = nullptr;
    };

    using Members = WrittenMembers;

    // The variable of a map's key, which is new for each entry.
    class KeyScope
    {
    public:
        KeyScope(const ReflectionByteCode& type, void* key) : m_type(type), m_key(key)
        {
            ConstructReflectedVariable(m_type, m_key);
        }
        KeyScope(const KeyScope&) = delete;
        KeyScope& operator=(const KeyScope&) = delete;
        ~KeyScope() { DestructReflectedVariable(m_type, m_key); }

    private:
        ReflectionByteCode m_type;
        void* m_key;
    };

    // Each reads a part of a value, and notes which one that is where reading fails.
    template <class GetIndex, class Read>
    auto AtIndex(const GetIndex& getIndex, const Read& read)
    {
        return At([&getIndex] { return "[" + std::to_string(getIndex()) + "]"; }, read);
    }
    template <class Read>
    auto AtKey(SubString key, const Read& read)
    {
        return At(
            [key]
            {
                std::string text(key.begin(), key.end());
                text.erase(text.find_last_not_of(" \t\r\n") + 1);
                return "[" + text + "]";
            },
            read);
    }
    template <class Read>
    auto AtMember(ConstStringZ name, const Read& read)
    {
        return At([name] { return std::string(".") + name; }, read);
    }

    ReadingRules m_options;
    ReadingTrail m_trail = {};

private:
    template <class GetText, class Read>
    auto At(const GetText& getText, const Read& read)
    {
        TrailStep step(m_trail, getText);
        if constexpr (std::is_void_v<decltype(read())>)
        {
            read();
            step.Finish();
        }
        else
        {
            const auto result = read();
            step.Finish();
            return result;
        }
    }
};

class ReadingErrors;

// Either of them, going on behind errors, which are noted (ReadingErrors.h).
template <class Rules>
struct GoingOn : Rules
{
    static constexpr bool s_goesOn = true;

    ReadingErrors* m_errors = nullptr;
    bool m_isBehind = false; // brackets have just ended without their closing one
};
using GoingOnRules = GoingOn<ExactRules>;
using ProgramGoingOnRules = GoingOn<ProgramRules>;

} // namespace kelm
