#include <klObject/values/ReflectedVariable.h>

#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/private/ClassFields.h>
#include <klObject/types/private/TypeCodes.h>
#include <klObject/values/private/CheckedType.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/StackSegment.h>
#include <klUtils/xvector.h>

#include <cstring>
#include <memory>
#include <new>

// Everything here works on `count` variables of one type that lie side by side, so that the type is decided on once for
// all elements of an array or vector; a single variable is an array of one.

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klObject/values/ReflectedVariable";

std::size_t ToSize(ssize_t bytes)
{
    return static_cast<std::size_t>(bytes);
}

// An array without elements may have no address.
void SetZero(char* p, ssize_t bytes)
{
    // Most elements are of few bytes: blocks that overlap.
    constexpr ssize_t block = 16;
    if (block <= bytes && bytes <= 4 * block)
    {
        std::memset(p, 0, block);
        std::memset(p + bytes - block, 0, block);
        if (bytes > 2 * block)
        {
            std::memset(p + block, 0, block);
            std::memset(p + bytes - 2 * block, 0, block);
        }
    }
    else if (bytes > 0)
        std::memset(p, 0, ToSize(bytes));
}

const MapFns& GetMapFns(ReflectionByteCode rbc)
{
    KELM_ASSERT(rbc.m_mapOrSetFns);
    KELM_ASSERT(rbc.m_mapOrSetFns->mapFns);
    return *rbc.m_mapOrSetFns->mapFns;
}

const SetFns& GetSetFns(ReflectionByteCode rbc)
{
    KELM_ASSERT(rbc.m_mapOrSetFns);
    KELM_ASSERT(rbc.m_mapOrSetFns->setFns);
    return *rbc.m_mapOrSetFns->setFns;
}

ssize_t GetElementCount(const VectorOfByte& vector, ssize_t elementSize)
{
    if (elementSize == 0)
        return 0; // elements without bytes leave no trace of their number
    KELM_ASSERT(vector.size() % elementSize == 0);
    return vector.size() / elementSize;
}

void DestructElements(ReflectionByteCode type, char* p, ssize_t count);

// Calls construct(i) for each i below `count`; where one throws, destruct(i) for those done, in reverse.
template <class Construct, class Destruct>
void ConstructAllOrNone(ssize_t count, Construct construct, Destruct destruct)
{
    ssize_t done = 0;
    try
    {
        for (; done < count; ++done)
            construct(done);
    }
    catch (...)
    {
        while (done > 0)
            destruct(--done);
        throw;
    }
}

void DestructField(const ClassFields::Field& field, char* p)
{
    if (field.m_isPresent)
        DestructElements(field.m_type, p + field.m_offset, 1);
}

void DestructClasses(const ReflectedClass& rc, char* p, ssize_t count)
{
    if (rc.m_ops != nullptr && rc.m_ops->m_DestructArrayFn != nullptr)
        return rc.m_ops->m_DestructArrayFn(p, rc.m_size, count);
    const ClassFields fields(rc);
    for (ssize_t i = 0; i < count; ++i)
        for (ssize_t f = fields.size(); f-- > 0;)
            DestructField(fields[f], p + i * rc.m_size);
}

void DestructVariants(const ReflectedVariant& rv, char* p, ssize_t count)
{
    if (rv.m_ops != nullptr && rv.m_ops->m_DestructArrayFn != nullptr)
        return rv.m_ops->m_DestructArrayFn(p, rv.m_size, count);
    for (; count > 0; --count, p += rv.m_size)
    {
        const ReflectedField& alternative = GetAlternative(rv, p, s_sourceFile);
        DestructElements(GetAlternativeType(rv, alternative), p + alternative.m_offset, 1);
    }
}

void DestructVectors(ReflectionByteCode elementType, char* p, ssize_t count)
{
    elementType.AdvanceToUnderlyingType2();
    const bool elementsNeedDestruction = !GetTypeCode(elementType).m_isTrivial;
    const ssize_t elementSize = elementsNeedDestruction ? elementType.GetTypeSize() : 0;
    for (ssize_t i = 0; i < count; ++i)
    {
        auto& vector = reinterpret_cast<VectorOfByte*>(p)[i];
        if (elementsNeedDestruction && !vector.empty())
            DestructElements(elementType, vector.data(), GetElementCount(vector, elementSize));
        vector.~VectorOfByte();
    }
}

template <class T>
void DestructValues(char* p, ssize_t count)
{
    for (ssize_t i = 0; i < count; ++i)
        reinterpret_cast<T*>(p)[i].~T();
}

// Destroys elements of the underlying type at the cursor, which are of one of the kinds that need it.
void DestructUnderlying(ReflectionByteCode type, char* p, ssize_t count)
{
    const TypeCode& code = GetTypeCode(type);
    switch (code.m_kind) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case VK_NONE: KELM_ASSERT(code.m_kind != VK_NONE); return;
    case VK_VOID:
    case VK_SCALAR:
    case VK_ENUM:
    case VK_HANDLE:
    case VK_PREF:
    case VK_ARRAY: return; // its elements are those that count
    case VK_STRING8: return DestructValues<xstring>(p, count);
    case VK_STRING16: return DestructValues<xstring16>(p, count);
    case VK_CLASS: return DestructClasses(GetClass(type, s_sourceFile), p, count);
    case VK_VARIANT: return DestructVariants(GetVariant(type, s_sourceFile), p, count);
    case VK_VECTOR: return DestructVectors(type.GetElementType(), p, count);
    case VK_MAP:
        for (ssize_t i = 0; i < count; ++i)
            GetMapFns(type).Destruct(p + i * code.m_size);
        return;
    case VK_SET:
        for (ssize_t i = 0; i < count; ++i)
            GetSetFns(type).Destruct(p + i * code.m_size);
        return;
    case VK_FOREIGN:
    {
        const ForeignType& foreign = type.GetForeignType();
        for (ssize_t i = 0; i < count; ++i)
            foreign.Destruct(p + i * foreign.m_size);
        return;
    }
    }
}

void DestructElements(ReflectionByteCode type, char* p, ssize_t count)
{
    if (IsStackLow())
    {
        bool hasBegun = false;
        try
        {
            return CallOnFreshSegment(
                [&]
                {
                    hasBegun = true;
                    DestructElements(type, p, count);
                });
        }
        catch (const std::bad_alloc&)
        {
            if (hasBegun)
                throw; // GCOVR_EXCL_LINE: destruction asks for no memory
            // No segment: what is left of this stack has to do.
        }
    }
    type = EnterArrays(type, count, s_sourceFile);
    DestructUnderlying(type, p, count);
}

void ConstructElements(ReflectionByteCode type, char* p, ssize_t count);

void ConstructClasses(const ReflectedClass& rc, char* p, ssize_t count)
{
    if (rc.m_ops != nullptr && rc.m_ops->m_ConstructArrayFn != nullptr)
        return rc.m_ops->m_ConstructArrayFn(p, rc.m_size, count);
    SetZero(p, rc.m_size * count);
    const ClassFields fields(rc);
    ConstructAllOrNone(
        count,
        [&](ssize_t i)
        {
            char* const instance = p + i * rc.m_size;
            ConstructAllOrNone(
                fields.size(),
                [&](ssize_t f)
                {
                    const ClassFields::Field field = fields[f];
                    if (field.m_isPresent)
                        ConstructElements(field.m_type, instance + field.m_offset, 1);
                },
                [&](ssize_t f) { DestructField(fields[f], instance); });
        },
        [&](ssize_t i) { DestructClasses(rc, p + i * rc.m_size, 1); });
}

void ConstructVariants(const ReflectedVariant& rv, char* p, ssize_t count)
{
    if (rv.m_ops != nullptr && rv.m_ops->m_ConstructArrayFn != nullptr)
        return rv.m_ops->m_ConstructArrayFn(p, rv.m_size, count);
    SetZero(p, rv.m_size * count); // the index of the first alternative among it
    ConstructAllOrNone(
        count,
        [&](ssize_t i)
        {
            char* const variant = p + i * rv.m_size;
            const ReflectedField& alternative = GetAlternative(rv, variant, s_sourceFile);
            ConstructElements(GetAlternativeType(rv, alternative), variant + alternative.m_offset, 1);
        },
        [&](ssize_t i) { DestructVariants(rv, p + i * rv.m_size, 1); });
}

// Of maps, sets and foreign types.
template <class Fns>
void ConstructByFns(const Fns& fns, char* p, ssize_t stride, ssize_t count)
{
    ConstructAllOrNone(
        count, [&](ssize_t i) { fns.Construct(p + i * stride); }, [&](ssize_t i) { fns.Destruct(p + i * stride); });
}

void ConstructElements(ReflectionByteCode type, char* p, ssize_t count)
{
    if (IsStackLow())
        return CallOnFreshSegment([&] { ConstructElements(type, p, count); });
    type = EnterArrays(type, count, s_sourceFile);
    const TypeCode& code = GetTypeCode(type);
    switch (code.m_kind) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case VK_NONE: KELM_ASSERT(code.m_kind != VK_NONE); return;
    case VK_ARRAY:
    case VK_VOID: return;
    case VK_SCALAR:
    case VK_ENUM:
    case VK_STRING8:
    case VK_STRING16:
    case VK_VECTOR:
    case VK_HANDLE:
    case VK_PREF: return SetZero(p, code.m_size * count);
    case VK_CLASS: return ConstructClasses(GetClass(type, s_sourceFile), p, count);
    case VK_VARIANT: return ConstructVariants(GetVariant(type, s_sourceFile), p, count);
    case VK_MAP: return ConstructByFns(GetMapFns(type), p, code.m_size, count);
    case VK_SET: return ConstructByFns(GetSetFns(type), p, code.m_size, count);
    case VK_FOREIGN: return ConstructByFns(type.GetForeignType(), p, type.GetForeignType().m_size, count);
    }
}

} // namespace

void ConstructReflectedVariable(ReflectionByteCode rbc, void* p)
{
    if (rbc.m_bc != nullptr)
        ConstructElements(rbc, static_cast<char*>(p), 1);
}

void* SwitchAlternative(const ReflectedVariant& rv, int32 index, void* variant)
{
    KELM_ASSERT(0 <= index && index < rv.m_numFields);
    const ReflectedField& alternative = rv.m_fields[index];
    const ReflectionByteCode type = GetAlternativeType(rv, alternative);
    char* const p = static_cast<char*>(variant);

    // What was there is kept until the new value is whole; on the stack where it is small.
    constexpr ssize_t smallSize = 256;
    char small[smallSize];
    std::unique_ptr<char[]> large;
    if (rv.m_size > smallSize)
        large.reset(new char[ToSize(rv.m_size)]);
    char* const before = large != nullptr ? large.get() : small;
    std::memcpy(before, p, ToSize(rv.m_size));
    try
    {
        // Zero bytes are a value of any type that a variant may hold: what was there before is none of the new one,
        // should a collection come by.
        SetZero(p, rv.m_size);
        std::memcpy(p, &index, sizeof index);
        ConstructReflectedVariable(type, p + alternative.m_offset);
    }
    catch (...)
    {
        std::memcpy(p, before, ToSize(rv.m_size));
        throw;
    }
    return p + alternative.m_offset;
}

void DestructReflectedVariable(ReflectionByteCode rbc, void* p)
{
    if (rbc.m_bc != nullptr)
        DestructElements(rbc, static_cast<char*>(p), 1);
}

namespace
{

// Appends an element of zero bytes and constructs it; where that throws, the vector is as it was.
template <class Construct>
char* PushBack(VectorOfByte& bytes, ssize_t size, Construct construct)
{
    char* const element = bytes.Extend(size);
    SetZero(element, size);
    try
    {
        construct(element);
    }
    catch (...)
    {
        bytes.resize(bytes.size() - size);
        throw;
    }
    return element;
}

} // namespace

void* PushBackDefaultConstructedElementOntoReflectedVector(ReflectionByteCode rbcOfElement, void* vector)
{
    rbcOfElement.AdvanceToUnderlyingType2();
    const TypeCode& code = GetTypeCode(rbcOfElement);
    const ssize_t size = code.m_size >= 0 ? code.m_size : rbcOfElement.GetTypeSize();
    return PushBack(*static_cast<VectorOfByte*>(vector), size,
                    [&](char* element)
                    {
                        if (!code.m_isZeroInit)
                            ConstructElements(rbcOfElement, element, 1);
                    });
}

void* PushBackDefaultConstructedInstance(const ReflectedClass& rc, VectorOfByte& vector)
{
    // A list of classes is seldom one of a single element. Where they are small, there is room anyway.
    constexpr ssize_t small = 32;
    constexpr ssize_t large = 256;
    if (vector.capacity() == 0 && small < rc.m_size && rc.m_size <= large)
        vector.reserve(4 * rc.m_size);
    return PushBack(vector, rc.m_size, [&](char* instance) { ConstructClasses(rc, instance, 1); });
}

} // namespace kelm
