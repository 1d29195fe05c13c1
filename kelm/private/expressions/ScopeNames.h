#pragma once

// What a scope knows: a record for each name, found by the hash of its characters.

#include <kelm/Scope.h>
#include <kelm/private/values/Places.h>
#include <klObject/types/ETypeByteCode.h>
#include <klObject/types/private/TextHash.h>
#include <klUtils/BasicSubString.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelm
{

namespace evaluation
{

// Whether two types are written the same in byte code, but for qualifiers before them.
bool IsSameType(ReflectionByteCode a, ReflectionByteCode b);

// What a name stands for. Its address stays, whatever the name is given to stand for later.
struct Record
{
    enum class Is : uint8
    {
        Nothing,
        Float64, // a variable of the type
        Int64,
        Int32,
        Scalar, // of another type, m_type
        Text,   // a std::string
        Place,
        Value,
        Function,
        Member, // of the object that m_object holds, to which a step of this name is recorded
    };

    explicit Record(std::string_view name, uint64 hash) : m_name(name), m_hash(hash) { m_slot.SetNone(); }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
    ~Record() { Clear(); }
    void Clear() noexcept;

    Is m_is = Is::Nothing;
    bool m_isConst = false;
    ETypeByteCode m_type = FT_VOID;
    const void* m_variable = nullptr;
    Slot m_slot; // a place, or the scope's own value
    const kelm::Value* m_object = nullptr;
    Callable m_function;
    std::vector<Callable> m_members; // in the table of member functions: one for each class
    std::string m_name;
    uint64 m_hash;
};

// What a name stands for, in a slot that holds nothing; and an assignment to it.
bool PushAny(const Record& record, Slot& slot, Failure& failure);
bool StoreInName(const Record& record, const Slot& value, const Checks& checks, Failure& failure);

// By open addressing; at most half full.
class NameTable
{
public:
    Record* Find(SubString name, uint64 hash) const
    {
        if (m_slots.empty())
            return nullptr;
        for (std::size_t i = hash & (m_slots.size() - 1);; i = (i + 1) & (m_slots.size() - 1))
        {
            Record* const record = m_slots[i];
            if (record == nullptr || (record->m_hash == hash && IsSameText(std::string_view(record->m_name), name)))
                return record;
        }
    }
    Record& FindOrAdd(std::string_view name);
    const std::vector<std::unique_ptr<Record>>& GetRecords() const { return m_records; }

private:
    std::vector<Record*> m_slots;
    std::vector<std::unique_ptr<Record>> m_records;
};

} // namespace evaluation

struct Scope::Names
{
    Names() { Touch(); }
    ~Names();

    // Whenever a name stands for something else than before, or is somewhere else; no two versions are the same.
    void Touch();

    // What is no longer part of the scope is destroyed, at the latest with it: not before functions that run have
    // returned, of which it may be one.
    void Retire(evaluation::Callable& function);
    void RetireResolver();
    void DestroyRetired();

    uint64 m_version;
    const Scope* m_parent = nullptr;
    evaluation::NameTable m_table;
    evaluation::NameTable m_members;
    Value m_object; // whose members are names, and its class
    const ReflectedClass* m_objectClass = nullptr;
    Resolver m_resolver = nullptr;
    void (*m_destroyResolver)(void*) noexcept = nullptr;
    void* m_resolverFunction = nullptr;
    std::vector<evaluation::Callable> m_retired;
    std::unique_ptr<Names> m_former; // of a scope that another one has been moved to
};

// What the names of a scope and of those outward of it stand for: the same as long as its version is, and theirs are.
class ScopeState
{
public:
    explicit ScopeState(const Scope* scope);

    // Whether it is that of the scope, wherever the scope lies by now.
    bool Is(const Scope* scope) const;
    bool Is(const Scope& scope) const;

    bool HasOuter() const { return m_hasOuter; }
    uint64 GetVersion() const { return m_version; }

private:
    bool AreOuter(const Scope* scope) const;

    uint64 m_version = 0;
    bool m_hasOuter = false;
    std::vector<uint64> m_outer;
};

// The scopes from one outward, seen as a whole. A null one has no names.
struct ScopeAccess
{
    static void CheckName(std::string_view name);
    // To be changed: its own ones.
    static Scope::Names& NamesOf(Scope& scope);
    static uint64 VersionOf(const Scope& scope) { return scope.m_names->m_version; }
    static uint64 VersionOf(const Scope* scope) { return scope != nullptr ? VersionOf(*scope) : 0; }
    static const Scope* ParentOf(const Scope* scope) { return scope != nullptr ? scope->m_names->m_parent : nullptr; }

    // While a function of the program, or a resolver, runs on this thread.
    struct Running
    {
        Running() { ++t_running; }
        ~Running() { --t_running; }
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;
        static bool IsAny() { return t_running != 0; }

    private:
        static constinit thread_local uint64 t_running __attribute__((tls_model("initial-exec")));
    };

    static const evaluation::Record* Find(const Scope* scope, SubString name);
    static const evaluation::Record* FindMember(const Scope* scope, SubString name);
    static bool HasResolver(const Scope* scope);
    static std::optional<Value> Resolve(const Scope* scope, std::string_view name);
    // What an expression may use: the language's own among them.
    static std::vector<std::string> AllNames(const Scope* scope);
    static std::vector<std::string> AllMembers(const Scope* scope);
};

inline bool ScopeState::Is(const Scope* scope) const
{
    return ScopeAccess::VersionOf(scope) == m_version && (!m_hasOuter || AreOuter(scope));
}
inline bool ScopeState::Is(const Scope& scope) const
{
    return ScopeAccess::VersionOf(scope) == m_version && (!m_hasOuter || AreOuter(&scope));
}

} // namespace kelm
