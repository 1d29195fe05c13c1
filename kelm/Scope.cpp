#include <kelm/Scope.h>

#include <kelm/private/expressions/Functions.h>
#include <kelm/private/expressions/MovedFrom.h>
#include <kelm/private/expressions/ScopeNames.h>
#include <kelm/private/types/Names.h>
#include <klKelmScript/private/BuiltIns.h>
#include <klObject/types/private/TextHash.h>
#include <klUtils/text/LsScanToken.h>
#include <klUtils/text/private/Scan.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <utility>

namespace kelm
{

namespace evaluation
{

namespace
{

void Destroy(Callable& function) noexcept
{
    if (function.m_destroy != nullptr)
        function.m_destroy(function.m_function);
    function = Callable();
}

} // namespace

void Record::Clear() noexcept
{
    m_slot.Release();
    m_slot.SetNone();
    Destroy(m_function);
    for (Callable& member : m_members)
        Destroy(member);
    m_members.clear();
    m_is = Is::Nothing;
}

Record& NameTable::FindOrAdd(std::string_view name)
{
    const uint64 hash = HashOfText(name);
    if (Record* const record = Find(name, hash))
        return *record;
    m_records.push_back(std::make_unique<Record>(name, hash));
    const auto insert = [](std::vector<Record*>& slots, Record* record)
    {
        std::size_t i = record->m_hash & (slots.size() - 1);
        while (slots[i] != nullptr)
            i = (i + 1) & (slots.size() - 1);
        slots[i] = record;
    };
    if (2 * m_records.size() <= m_slots.size())
        insert(m_slots, m_records.back().get());
    else
    {
        try
        {
            std::vector<Record*> slots(std::max<std::size_t>(16, 2 * m_slots.size()));
            for (const std::unique_ptr<Record>& record : m_records)
                insert(slots, record.get());
            m_slots.swap(slots);
        }
        catch (...)
        {
            m_records.pop_back();
            throw;
        }
    }
    return *m_records.back();
}

namespace
{

[[noreturn]] void ThrowName(const std::string& message)
{
    throw Error({.m_kind = ErrorKind::Name, .m_message = message});
}

bool IsIdentifier(std::string_view name)
{
    const char* const end = name.data() + name.size();
    text::Lexeme token;
    return !name.empty() && text::Scan(name.data(), end, false, token) && token.m_kind == TOKEN_IDENTIFIER &&
           token.m_start == name.data() && token.m_past == end;
}

bool CanBeName(std::string_view name)
{
    return IsIdentifier(name) && FindBuiltIn(name) == nullptr;
}

void CheckName(std::string_view name)
{
    if (!IsIdentifier(name))
        ThrowName("\"" + std::string(name) + "\" is no name");
    if (FindBuiltIn(name) != nullptr)
        ThrowName("\"" + std::string(name) + "\" is a built-in name");
}

} // namespace

} // namespace evaluation

using evaluation::Record;

void Scope::Names::Touch()
{
    static std::atomic<uint64> s_last = 0;
    m_version = s_last.fetch_add(1, std::memory_order_relaxed) + 1;
}

constinit thread_local uint64 ScopeAccess::Running::t_running __attribute__((tls_model("initial-exec"))) = 0;

Scope::Names::~Names()
{
    if (m_destroyResolver != nullptr)
        m_destroyResolver(m_resolverFunction);
    DestroyRetired();
}

void Scope::Names::Retire(evaluation::Callable& function)
{
    if (ScopeAccess::Running::IsAny() && function.m_destroy != nullptr)
        m_retired.push_back(std::exchange(function, {}));
    else
        evaluation::Destroy(function);
}

void Scope::Names::RetireResolver()
{
    evaluation::Callable resolver;
    resolver.m_destroy = std::exchange(m_destroyResolver, nullptr);
    resolver.m_function = m_resolverFunction;
    m_resolver = nullptr;
    Retire(resolver);
}

void Scope::Names::DestroyRetired()
{
    std::unique_ptr<Names> former = std::move(m_former);
    for (evaluation::Callable& function : std::exchange(m_retired, {}))
        evaluation::Destroy(function);
    while (former != nullptr) // one behind the other, however many there are
        former = std::move(former->m_former);
}

ScopeState::ScopeState(const Scope* scope) : m_version(ScopeAccess::VersionOf(scope))
{
    while ((scope = ScopeAccess::ParentOf(scope)) != nullptr)
        m_outer.push_back(ScopeAccess::VersionOf(scope));
    m_hasOuter = !m_outer.empty();
}

// A scope has the same parent for good.
bool ScopeState::AreOuter(const Scope* scope) const
{
    return std::all_of(m_outer.begin(), m_outer.end(),
                       [&scope](uint64 version)
                       {
                           scope = ScopeAccess::ParentOf(scope);
                           return ScopeAccess::VersionOf(scope) == version;
                       });
}

Scope::Scope(const Scope* parent) : m_names(std::make_unique<Names>())
{
    m_names->m_parent = parent;
}

Scope::Scope(Scope&& other) noexcept : m_names(evaluation::TakeOver(other.m_names)) {}
Scope& Scope::operator=(Scope&& other) noexcept
{
    if (this == &other)
        return *this;
    std::swap(m_names, other.m_names);
    const bool isRunning = ScopeAccess::Running::IsAny(); // what may be a function of the names that were replaced
    const bool hasNone = evaluation::IsMovedFrom(*m_names);
    if (hasNone && isRunning)
        return *this; // the other one keeps them
    std::unique_ptr<Names> former = evaluation::TakeOver(other.m_names);
    if (!hasNone)
        m_names->Touch();
    if (isRunning && !evaluation::IsMovedFrom(*former))
    {
        former->m_former = std::move(m_names->m_former);
        m_names->m_former = std::move(former);
    }
    else
        evaluation::Dispose(std::move(former));
    return *this;
}
Scope::~Scope()
{
    evaluation::Dispose(std::move(m_names));
}

Scope::Names& ScopeAccess::NamesOf(Scope& scope)
{
    if (evaluation::IsMovedFrom(*scope.m_names)) [[unlikely]]
        evaluation::Dispose(std::exchange(scope.m_names, std::make_unique<Scope::Names>()));
    return *scope.m_names;
}

// The record for a name that is given now.
Record& Scope::NewRecord(std::string_view name)
{
    evaluation::CheckName(name);
    Names& names = ScopeAccess::NamesOf(*this);
    Record& record = names.m_table.FindOrAdd(name);
    if (!ScopeAccess::Running::IsAny())
        names.DestroyRetired();
    names.Retire(record.m_function);
    names.Touch(); // a new name too: it may hide another scope's, or a function of the library
    record.Clear();
    return record;
}

Scope& Scope::BindScalar(std::string_view name, const void* variable, ETypeByteCode type, bool isConst)
{
    Record& record = NewRecord(name);
    record.m_is = type == FT_FLOAT64 ? Record::Is::Float64
                  : type == FT_INT64 ? Record::Is::Int64
                  : type == FT_INT32 ? Record::Is::Int32
                                     : Record::Is::Scalar;
    record.m_isConst = isConst;
    record.m_type = type;
    record.m_variable = variable;
    return *this;
}

Scope& Scope::BindText(std::string_view name, const std::string* variable, bool isConst)
{
    Record& record = NewRecord(name);
    record.m_is = Record::Is::Text;
    record.m_isConst = isConst;
    record.m_variable = variable;
    return *this;
}

Scope& Scope::BindPlace(std::string_view name, const void* variable, const ReflectionByteCode& type, bool isConst)
{
    Record& record = NewRecord(name);
    record.m_is = Record::Is::Place;
    record.m_isConst = isConst;
    record.m_slot.SetPlace(variable, type, isConst);
    return *this;
}

namespace
{

// Whether what is known of one place is right for the other.
bool HaveSameForm(const evaluation::Slot& a, const evaluation::Slot& b)
{
    return a.m_kind == b.m_kind && (a.m_kind != evaluation::Kind::Place ||
                                    (a.m_bc == b.m_bc && a.m_stringTable == b.m_stringTable &&
                                     a.m_isConst == b.m_isConst && (a.m_holder == nullptr) == (b.m_holder == nullptr)));
}

} // namespace

Scope& Scope::BindMembersOf(const Value& object)
{
    Names& names = ScopeAccess::NamesOf(*this);
    const ReflectedClass* const rc = evaluation::ClassOf(ValueAccess::Of(object));
    if (rc != nullptr && rc != names.m_objectClass)
    {
        for (const std::string& name : ModelFieldNames(*rc))
            if (evaluation::CanBeName(name)) // others are reached through the object alone
            {
                Record& record = NewRecord(name);
                record.m_is = Record::Is::Member;
                record.m_object = &names.m_object;
            }
        names.m_objectClass = rc;
    }
    if (!HaveSameForm(ValueAccess::Of(object), ValueAccess::Of(names.m_object)))
        names.Touch();
    names.m_object = object;
    return *this;
}

Scope& Scope::Set(std::string_view name, Value value) &
{
    // A number in place of another changes nothing else.
    Record* const former = m_names->m_table.Find({name.data(), name.data() + name.size()}, HashOfText(name));
    if (former != nullptr && former->m_is == Record::Is::Value && former->m_slot.IsScalar() &&
        former->m_slot.m_kind == ValueAccess::Of(value).m_kind)
    {
        former->m_slot = ValueAccess::Of(value);
        return *this;
    }
    Record& record = NewRecord(name);
    record.m_is = Record::Is::Value;
    record.m_isConst = true;
    std::swap(record.m_slot, ValueAccess::Of(value));
    record.m_slot.m_isConst = true; // as is all of an object
    return *this;
}

Scope& Scope::DefineCallable(std::string_view name, evaluation::Callable callable)
{
    // The scope owns the function from here on, whatever comes.
    struct Owner
    {
        ~Owner()
        {
            if (m_callable.m_destroy != nullptr)
                m_callable.m_destroy(m_callable.m_function);
        }
        evaluation::Callable m_callable;
    } owner{callable};
    if (callable.m_isMember)
    {
        evaluation::CheckName(name);
        Names& names = ScopeAccess::NamesOf(*this);
        Record& record = names.m_members.FindOrAdd(name);
        record.m_is = Record::Is::Function;
        for (evaluation::Callable& member : record.m_members)
            if (evaluation::IsSameType(member.m_class, callable.m_class))
            {
                names.Retire(member);
                std::swap(member, owner.m_callable);
                return *this;
            }
        record.m_members.push_back(callable);
    }
    else
    {
        Record& record = NewRecord(name);
        record.m_is = Record::Is::Function;
        record.m_function = callable;
    }
    owner.m_callable = {};
    return *this;
}

Scope& Scope::SetResolver(Resolver resolver, void (*destroy)(void*) noexcept, void* function)
{
    std::unique_ptr<void, void (*)(void*) noexcept> owner(function, destroy);
    Names& names = ScopeAccess::NamesOf(*this);
    names.RetireResolver();
    names.m_resolver = resolver;
    names.m_destroyResolver = destroy;
    names.m_resolverFunction = owner.release();
    return *this;
}

// --- As a whole ------------------------------------------------------------------------------------------------------

void ScopeAccess::CheckName(std::string_view name)
{
    evaluation::CheckName(name);
}

const Record* ScopeAccess::Find(const Scope* scope, SubString name)
{
    const uint64 hash = HashOfText(name);
    for (; scope != nullptr; scope = scope->m_names->m_parent)
        if (const Record* const record = scope->m_names->m_table.Find(name, hash))
            return record;
    return nullptr;
}

const Record* ScopeAccess::FindMember(const Scope* scope, SubString name)
{
    const uint64 hash = HashOfText(name);
    for (; scope != nullptr; scope = scope->m_names->m_parent)
        if (const Record* const record = scope->m_names->m_members.Find(name, hash))
            return record;
    return nullptr;
}

bool ScopeAccess::HasResolver(const Scope* scope)
{
    for (; scope != nullptr; scope = scope->m_names->m_parent)
        if (scope->m_names->m_resolver != nullptr)
            return true;
    return false;
}

std::optional<Value> ScopeAccess::Resolve(const Scope* scope, std::string_view name)
{
    for (; scope != nullptr; scope = scope->m_names->m_parent)
        if (const Scope::Names& names = *scope->m_names; names.m_resolver != nullptr)
            if (std::optional<Value> value = names.m_resolver(names.m_resolverFunction, name))
                return value;
    return std::nullopt;
}

namespace
{

std::vector<std::string> NamesIn(const evaluation::NameTable& table, std::vector<std::string> names)
{
    for (const auto& record : table.GetRecords())
        names.push_back(record->m_name);
    return names;
}

} // namespace

std::vector<std::string> ScopeAccess::AllNames(const Scope* scope)
{
    std::vector<std::string> names = BuiltInNames();
    for (const evaluation::OwnFunction& function : evaluation::GetOwnFunctions())
        names.emplace_back(function.m_name);
    for (; scope != nullptr; scope = scope->m_names->m_parent)
        names = NamesIn(scope->m_names->m_table, std::move(names));
    return names;
}

std::vector<std::string> ScopeAccess::AllMembers(const Scope* scope)
{
    std::vector<std::string> names;
    for (; scope != nullptr; scope = scope->m_names->m_parent)
        names = NamesIn(scope->m_names->m_members, std::move(names));
    return names;
}

} // namespace kelm
