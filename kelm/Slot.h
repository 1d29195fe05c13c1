#pragma once

// What a value is made of inside. Programs use Value; this is what Value and the templates around it share.

#include <kelm/Error.h>
#include <kelm/api.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/types.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::evaluation
{

// Kinds in an order that says what they own: scalars nothing.
enum class Kind : uint8
{
    None,
    Bool,
    Integer,
    Float,
    Text,
    Place, // a variable: its address and type
};

// What keeps a text or an object alive, counted.
struct Holder
{
    std::atomic<std::size_t> m_references{1};
    void (*m_destroy)(Holder* holder) noexcept;
};

// One value. Copied as bytes; whoever copies one accounts for its holder. Of a scalar the first two words alone count.
struct Slot
{
    Kind m_kind;
    bool m_isConst;      // of a place
    bool m_stays;        // of a place: it is one even while a function runs that may change the variable
    bool m_isOwn : 1;    // of a place: a variable of its own, with what another one held
    bool m_isResult : 1; // of a place: an object that a function gave by value, or a part of one
    uint32 m_checks;     // of a place, the members on the way to it that have checks: the last of them; 0 for none
    union
    {
        bool m_bool;
        int64 m_integer;
        float64 m_float;
        const char* m_text;
        void* m_address;
    };
    Holder* m_holder; // of a text or place; null where it is someone else's
    union
    {
        std::size_t m_size; // of a text
        const uint8* m_bc;  // of a place, its type
    };
    const ConstStringZ* m_stringTable;
    const PtrMapOrSetFns* m_mapOrSetFns;
    void* m_owner; // of a place, the object that it lies in, where there is one
    const IObjectFns* m_ownerFns;

    static Slot OfNothing()
    {
        Slot slot;
        slot.SetNone();
        return slot;
    }

    bool IsScalar() const { return m_kind <= Kind::Float; }
    std::string_view GetText() const { return {m_text, m_size}; }
    ReflectionByteCode GetType() const { return {m_bc, m_stringTable, m_mapOrSetFns}; }
    ptr<IObject> GetOwner() const { return {m_owner, m_ownerFns}; }

    void SetNone() { m_kind = Kind::None; }
    void Set(bool x)
    {
        m_kind = Kind::Bool;
        m_bool = x;
    }
    void Set(int64 x)
    {
        m_kind = Kind::Integer;
        m_integer = x;
    }
    void Set(float64 x)
    {
        m_kind = Kind::Float;
        m_float = x;
    }
    void SetText(std::string_view text, Holder* holder = nullptr)
    {
        m_kind = Kind::Text;
        m_text = text.data();
        m_size = text.size();
        m_holder = holder;
    }
    void SetPlace(const void* address, const ReflectionByteCode& type, bool isConst, Holder* holder = nullptr)
    {
        m_kind = Kind::Place;
        m_isConst = isConst;
        m_stays = false;
        m_isOwn = false;
        m_isResult = false;
        m_checks = 0;
        m_address = const_cast<void*>(address);
        m_holder = holder;
        SetOwner(nullptr);
        SetType(type);
    }
    void SetOwner(const ptr<IObject>& owner)
    {
        m_owner = owner.self();
        m_ownerFns = owner.fns();
    }
    void SetType(const ReflectionByteCode& type)
    {
        m_bc = type.m_bc;
        m_stringTable = type.m_stringTable;
        m_mapOrSetFns = type.m_mapOrSetFns;
    }

    void Retain() const
    {
        if (!IsScalar() && m_holder != nullptr)
            m_holder->m_references.fetch_add(1, std::memory_order_relaxed);
    }
    void Release() const noexcept
    {
        if (!IsScalar() && m_holder != nullptr && m_holder->m_references.fetch_sub(1, std::memory_order_acq_rel) == 1)
            m_holder->m_destroy(m_holder);
    }
};

static_assert(sizeof(Slot) == 64);

// Makes a slot a text of its own.
KELM_API void SetOwnText(Slot& slot, std::string_view text);

// Why something cannot be done, of which whoever knows the place makes an Error.
struct Failure
{
    struct Details
    {
        ErrorKind m_kind = ErrorKind::Internal;
        std::string m_message = {};
        std::string m_unknown = {};               // a name that does not exist,
        std::vector<std::string> m_existing = {}; // and those that do
    };
    std::unique_ptr<Details> m_details; // none before something fails
};

KELM_API bool FailUnknown(Failure& failure, std::string_view message, std::string_view name,
                          std::vector<std::string> existing);

// Always false: `return Fail(failure, ErrorKind::Type, "...")`.
KELM_API bool Fail(Failure& failure, ErrorKind kind, std::string_view message);

// As an error without a place.
[[noreturn]] KELM_API void ThrowWithoutPlace(Failure& failure);

} // namespace kelm::evaluation
