#pragma once

// TypeEmitter and TypeTables: the byte code, string table and function table of a list of field types, made at compile
// time.

#include <klObject/types/ETypeByteCode.h>
#include <klObject/types/ReflectedTypes.h>

#include <array>
#include <cstddef>
#include <string_view>

namespace kelm
{

// Registers a type that byte code names, with all that it uses itself (RegisterUsed.h).
class UsedTypes;
using UseFn = void (*)(UsedTypes&);

struct TypeTableSizes
{
    std::size_t m_numBytes = 0;
    std::size_t m_numNames = 0;
    std::size_t m_numFunctions = 0;
};

// Collects byte code. One without arrays only counts, a name each time that it occurs.
class TypeEmitter
{
public:
    constexpr TypeEmitter() = default;
    constexpr TypeEmitter(uint8* bytes, ConstStringZ* names, UseFn* uses, bool* areForeign, PtrMapOrSetFns* functions)
        : m_isCounting(false)
        , m_bytes(bytes)
        , m_names(names)
        , m_uses(uses)
        , m_areForeign(areForeign)
        , m_functions(functions)
    {
    }

    constexpr void Code(ETypeByteCode code) { Byte(static_cast<uint8>(code)); }
    constexpr void Int32(int32 value)
    {
        for (int shift = 0; shift < 32; shift += 8)
            Byte(static_cast<uint8>(static_cast<uint32>(value) >> shift));
    }
    // `use` registers the type of that name.
    constexpr void Name(ETypeByteCode code, ConstStringZ name, UseFn use)
    {
        Code(code);
        Index(IndexOfName(name, use, false));
    }
    // `record` is the first member of a ForeignType.
    constexpr void Foreign(const char& record, UseFn use)
    {
        Code(FT_FOREIGN);
        Index(IndexOfName(&record, use, true));
    }
    constexpr void Functions(PtrMapOrSetFns functions)
    {
        if (!m_isCounting)
            m_functions[m_sizes.m_numFunctions] = functions;
        ++m_sizes.m_numFunctions;
    }

    // What `emit` emits leaves nothing but its functions: it is the inside of a typedef.
    template <class Emit>
    constexpr void FunctionsOnly(Emit emit)
    {
        const bool isSilent = m_isSilent;
        m_isSilent = true;
        emit();
        m_isSilent = isSilent;
    }

    constexpr const TypeTableSizes& Sizes() const { return m_sizes; }

private:
    constexpr void Byte(uint8 byte)
    {
        if (m_isSilent)
            return;
        if (!m_isCounting)
            m_bytes[m_sizes.m_numBytes] = byte;
        ++m_sizes.m_numBytes;
    }
    constexpr void Index(std::size_t index)
    {
        Byte(static_cast<uint8>(index));
        Byte(static_cast<uint8>(index >> 8));
    }
    constexpr std::size_t IndexOfName(ConstStringZ name, UseFn use, bool isForeign)
    {
        if (m_isSilent)
            return 0;
        if (!m_isCounting)
        {
            // A foreign type's entry is no text.
            for (std::size_t i = 0; i < m_sizes.m_numNames; ++i)
                if (m_areForeign[i] == isForeign &&
                    (isForeign ? m_names[i] == name : std::string_view(m_names[i]) == name))
                    return i;
            m_names[m_sizes.m_numNames] = name;
            m_uses[m_sizes.m_numNames] = use;
            m_areForeign[m_sizes.m_numNames] = isForeign;
        }
        return m_sizes.m_numNames++;
    }

    bool m_isCounting = true; // asked instead of the arrays: under a sanitizer no address is known not to be null
    uint8* m_bytes = nullptr;
    ConstStringZ* m_names = nullptr;
    UseFn* m_uses = nullptr;
    bool* m_areForeign = nullptr;
    PtrMapOrSetFns* m_functions = nullptr;
    TypeTableSizes m_sizes;
    bool m_isSilent = false;
};

// The tables of several fields, given by their FieldTypes in order: one string table for all of them.
template <class... FieldTypes>
struct TypeTables
{
    static constexpr std::size_t NumTypes = sizeof...(FieldTypes);
    static constexpr std::array<void (*)(TypeEmitter&), NumTypes> s_emit = {FieldTypes::Emit...};
    static constexpr TypeTableSizes MaxSizes()
    {
        TypeEmitter counter;
        for (const auto emit : s_emit)
            emit(counter);
        return counter.Sizes();
    }

    constexpr TypeTables()
    {
        static_assert(MaxSizes().m_numNames <= 0x10000, "a string table holds up to 65,536 names");
        std::array<bool, MaxSizes().m_numNames + 1> areForeign{};
        TypeEmitter emitter(m_bytes.data(), m_names.data(), m_uses.data(), areForeign.data(), m_functions.data());
        for (std::size_t i = 0; i < NumTypes; ++i)
        {
            m_starts[i] = emitter.Sizes();
            s_emit[i](emitter);
        }
    }

    constexpr const uint8* ByteCode(std::size_t i) const { return m_bytes.data() + m_starts[i].m_numBytes; }
    constexpr bool HasFunctions(std::size_t i) const
    {
        const std::size_t end = i + 1 < NumTypes ? m_starts[i + 1].m_numFunctions : m_functions.size();
        return m_starts[i].m_numFunctions < end;
    }
    constexpr const PtrMapOrSetFns* Functions(std::size_t i) const
    {
        return HasFunctions(i) ? m_functions.data() + m_starts[i].m_numFunctions : nullptr;
    }

    std::array<uint8, MaxSizes().m_numBytes> m_bytes{};
    std::array<ConstStringZ, MaxSizes().m_numNames + 1> m_names{}; // ends with a null
    std::array<UseFn, MaxSizes().m_numNames + 1> m_uses{};         // of each name; ends with a null
    std::array<PtrMapOrSetFns, MaxSizes().m_numFunctions> m_functions{};
    std::array<TypeTableSizes, NumTypes> m_starts{}; // how much of each table comes before each type
};

} // namespace kelm
