#include <klObject/values/ReflectedVariable.h>

#include <klObject/containers/private/MapEntry.h>
#include <klObject/objects/IObject.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/private/ClassFields.h>
#include <klObject/types/private/TypeCodes.h>
#include <klObject/values/private/CheckedType.h>
#include <klObject/values/private/CompareTypes.h>
#include <klObject/values/private/ForeignEntries.h>
#include <klObject/values/private/ScalarTypes.h>
#include <klObject/values/private/SharedTargets.h>
#include <klUtils/Compare.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/StackSegment.h>
#include <klUtils/xvector.h>

#include <algorithm>
#include <cstring>
#include <tuple>
#include <vector>

// One walk over two variables serves all questions (Compare.h). It ends at the first difference; the sign of its result
// is the order of the variables there (or says no more than that they differ, where equality alone was asked for).

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klObject/values/CompareReflectedVariable";

// Variables of one type, side by side.
struct Operand
{
    ReflectionByteCode m_type;
    const char* m_data;

    Operand At(ReflectionByteCode type, ssize_t offset) const { return {type, m_data + offset}; }
};

int CompareElements(EComparison question, Operand a, Operand b, ssize_t count);

constexpr bool IsEquality(EComparison question)
{
    return question == VALUES_EQUAL || question == KEYS_EQUAL;
}

// The same question asked of the keys of what is compared.
constexpr EComparison OfKeys(EComparison question)
{
    return IsEquality(question) ? KEYS_EQUAL : KEYS_ORDER;
}

// The order of what is always there and never a NaN.
template <class T>
int Order(const T& a, const T& b)
{
    return Compare<VALUES_ORDER>(a, b);
}

// Calls compare(i) for each i below `count` up to the first difference.
template <class CompareAt>
int CompareEach(ssize_t count, CompareAt compareAt)
{
    for (ssize_t i = 0; i < count; ++i)
        if (const int order = compareAt(i))
            return order;
    return 0;
}

template <EComparison C, class T>
int CompareValues(const char* a, const char* b, ssize_t count)
{
    constexpr auto size = static_cast<ssize_t>(sizeof(T));
    if constexpr (IsScalarType<T>)
        return CompareEach(count, [&](ssize_t i)
                           { return CompareScalars<C>(LoadScalar<T>(a + i * size), LoadScalar<T>(b + i * size)); });
    else
        return CompareEach(count,
                           [&](ssize_t i) {
                               return Compare<C>(*reinterpret_cast<const T*>(a + i * size),
                                                 *reinterpret_cast<const T*>(b + i * size));
                           });
}

// Side by side, of a type that C++ code compares as it is.
template <class T>
int CompareValues(EComparison question, const char* a, const char* b, ssize_t count)
{
    switch (question) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case VALUES_EQUAL: return CompareValues<VALUES_EQUAL, T>(a, b, count);
    case VALUES_ORDER: return CompareValues<VALUES_ORDER, T>(a, b, count);
    case KEYS_EQUAL: return CompareValues<KEYS_EQUAL, T>(a, b, count);
    case KEYS_ORDER: return CompareValues<KEYS_ORDER, T>(a, b, count);
    }
    return 0; // GCOVR_EXCL_LINE: every one has returned
}

// What a type's own operations answer, for a class or variant that has those that the question needs.
bool HasOwnAnswer(EComparison question, const TypeOps* ops)
{
    return ops != nullptr && (IsEquality(question) ? ops->m_equalsFn : ops->m_lessFn) != nullptr;
}

int CompareByOps(EComparison question, const TypeOps& ops, const char* a, const char* b)
{
    if (IsEquality(question))
        return ops.m_equalsFn(a, b) ? 0 : 1;
    return ops.m_lessFn(a, b) ? -1 : ops.m_lessFn(b, a);
}

int CompareClasses(EComparison question, const Operand& a, const Operand& b, ssize_t count)
{
    const ReflectedClass& rc = GetClass(a.m_type, s_sourceFile);
    if (HasOwnAnswer(question, rc.m_ops))
        return CompareEach(
            count, [&](ssize_t i)
            { return CompareByOps(question, *rc.m_ops, a.m_data + i * rc.m_size, b.m_data + i * rc.m_size); });

    const ClassFields fields(rc);
    // Nothing is known of what an opaque class holds, and a guess would be wrong. An empty C++ class has one byte.
    const bool isOpaque = fields.size() == 0 && rc.m_size > 1;
    KELM_ASSERT(!isOpaque);
    return CompareEach(count,
                       [&](ssize_t i)
                       {
                           return CompareEach(fields.size(),
                                              [&](ssize_t f)
                                              {
                                                  const ClassFields::Field field = fields[f];
                                                  if (!field.m_isPresent)
                                                      return 0;
                                                  const ssize_t offset = i * rc.m_size + field.m_offset;
                                                  return CompareElements(question, a.At(field.m_type, offset),
                                                                         b.At(field.m_type, offset), 1);
                                              });
                       });
}

int CompareVariant(EComparison question, const ReflectedVariant& rv, const Operand& a, const Operand& b)
{
    const auto compareByOps = [&] { return CompareByOps(question, *rv.m_ops, a.m_data, b.m_data); };
    const bool hasOwnAnswer = HasOwnAnswer(question, rv.m_ops);
    if (hasOwnAnswer && question != OfKeys(question))
        return compareByOps();
    if (const int order = Order(LoadScalar<int32>(a.m_data), LoadScalar<int32>(b.m_data)))
        return order;
    const ReflectedField& alternative = GetAlternative(rv, a.m_data, s_sourceFile);
    ReflectionByteCode type = GetAlternativeType(rv, alternative);
    type.AdvanceToUnderlyingType2();
    // A variant's own answer is one about values, where a NaN is no key.
    if (hasOwnAnswer && GetTypeCode(type).m_kind != VK_SCALAR)
        return compareByOps();
    return CompareElements(question, a.At(type, alternative.m_offset), b.At(type, alternative.m_offset), 1);
}

int CompareVariants(EComparison question, const Operand& a, const Operand& b, ssize_t count)
{
    const ReflectedVariant& rv = GetVariant(a.m_type, s_sourceFile);
    return CompareEach(
        count, [&](ssize_t i)
        { return CompareVariant(question, rv, a.At(a.m_type, i * rv.m_size), b.At(b.m_type, i * rv.m_size)); });
}

int CompareVectors(EComparison question, const Operand& a, const Operand& b)
{
    const auto& bytesOfA = *reinterpret_cast<const VectorOfByte*>(a.m_data);
    const auto& bytesOfB = *reinterpret_cast<const VectorOfByte*>(b.m_data);
    const int orderOfSizes = Order(bytesOfA.size(), bytesOfB.size());
    if (IsEquality(question) && orderOfSizes != 0)
        return orderOfSizes;
    const ssize_t common = orderOfSizes < 0 ? bytesOfA.size() : bytesOfB.size();
    if (common == 0)
        return orderOfSizes;

    const ReflectionByteCode typeOfA = a.m_type.GetElementType();
    const ReflectionByteCode typeOfB = b.m_type.GetElementType();
    const ssize_t elementSize = typeOfA.GetTypeSize();
    KELM_ASSERT(elementSize > 0);
    KELM_ASSERT(common % elementSize == 0);
    const int order =
        CompareElements(question, {typeOfA, bytesOfA.data()}, {typeOfB, bytesOfB.data()}, common / elementSize);
    return order != 0 ? order : orderOfSizes;
}

// Maps and sets can only be walked from within: the entries of one are listed, those of the other compared with them.
struct MapWalk
{
    EComparison m_question;
    ReflectionByteCode m_keyTypeOfA;
    ReflectionByteCode m_keyTypeOfB;
    ReflectionByteCode m_payloadTypeOfA; // null in a set
    ReflectionByteCode m_payloadTypeOfB;
    std::vector<MapEntry> m_entriesOfA;
    std::size_t m_passed = 0;
    int m_order = 0;

    static bool CompareNext(void* context, const void* key, void* payload)
    {
        auto& walk = *static_cast<MapWalk*>(context);
        if (walk.m_passed == walk.m_entriesOfA.size())
            return false;
        const MapEntry entry = walk.m_entriesOfA[walk.m_passed++];
        walk.m_order = CompareElements(OfKeys(walk.m_question), {walk.m_keyTypeOfA, entry.m_key},
                                       {walk.m_keyTypeOfB, static_cast<const char*>(key)}, 1);
        if (walk.m_order == 0 && walk.m_payloadTypeOfA.m_bc != nullptr)
            walk.m_order = CompareElements(walk.m_question, {walk.m_payloadTypeOfA, entry.m_payload},
                                           {walk.m_payloadTypeOfB, static_cast<const char*>(payload)}, 1);
        return walk.m_order == 0;
    }
};

template <class Fns>
int CompareEntries(MapWalk& walk, const Fns* fnsOfA, const Fns* fnsOfB, const Operand& a, const Operand& b)
{
    KELM_ASSERT(fnsOfA);
    KELM_ASSERT(fnsOfB);
    const int orderOfCounts = Order(fnsOfA->Count(a.m_data), fnsOfB->Count(b.m_data));
    if (IsEquality(walk.m_question) && orderOfCounts != 0)
        return orderOfCounts;
    walk.m_entriesOfA = ListEntries(*fnsOfA, a.m_data);
    fnsOfB->ForEach(b.m_data, MapWalk::CompareNext, &walk);
    return walk.m_order != 0 ? walk.m_order : orderOfCounts;
}

int CompareMapsOrSets(EComparison question, const Operand& a, const Operand& b)
{
    KELM_ASSERT(a.m_type.m_mapOrSetFns);
    KELM_ASSERT(b.m_type.m_mapOrSetFns);
    MapWalk walk;
    walk.m_question = question;
    walk.m_keyTypeOfA = a.m_type.GetElementType();
    walk.m_keyTypeOfB = b.m_type.GetElementType();
    if (a.m_type.GetCode() == FT_SET)
        return CompareEntries(walk, a.m_type.m_mapOrSetFns->setFns, b.m_type.m_mapOrSetFns->setFns, a, b);
    walk.m_payloadTypeOfA = walk.m_keyTypeOfA;
    walk.m_payloadTypeOfA.ScanType();
    walk.m_payloadTypeOfB = walk.m_keyTypeOfB;
    walk.m_payloadTypeOfB.ScanType();
    return CompareEntries(walk, a.m_type.m_mapOrSetFns->mapFns, b.m_type.m_mapOrSetFns->mapFns, a, b);
}

int CompareHandles(const Operand& a, const Operand& b, ssize_t i)
{
    constexpr ssize_t size = sizeof(ptr<IObject>);
    return Order(reinterpret_cast<uint64>(LoadScalar<ptr<IObject>>(a.m_data + i * size).self()),
                 reinterpret_cast<uint64>(LoadScalar<ptr<IObject>>(b.m_data + i * size).self()));
}

// By identity in the store; objects that no store has seen by their addresses. Nothing is loaded.
int ComparePrefs(const Operand& a, const Operand& b, ssize_t i)
{
    constexpr ssize_t size = sizeof(prefbase);
    const auto refA = LoadScalar<prefbase>(a.m_data + i * size);
    const auto refB = LoadScalar<prefbase>(b.m_data + i * size);
    const ObjectId id = refA.GetObjectId();
    if (const int order = Order(id, refB.GetObjectId()))
        return order;
    if (id != 0)
        return 0;
    return Order(reinterpret_cast<uint64>(refA.GetLoaded().self()), reinterpret_cast<uint64>(refB.GetLoaded().self()));
}

// By the elements or entries up to the first difference, then by their numbers.
int CompareForeignLists(EComparison question, const ForeignType& typeOfA, const ForeignType& typeOfB, const Operand& a,
                        const Operand& b)
{
    const ssize_t countOfA = typeOfA.m_list->Count(a.m_data);
    const ssize_t countOfB = typeOfB.m_list->Count(b.m_data);
    const int orderOfCounts = Order(countOfA, countOfB);
    if (IsEquality(question) && orderOfCounts != 0)
        return orderOfCounts;
    const auto elementOf = [](const ForeignType& type, const Operand& list, ssize_t i) -> Operand {
        return {type.GetElementType(i), static_cast<const char*>(type.m_list->At(const_cast<char*>(list.m_data), i))};
    };
    const int order =
        CompareEach(orderOfCounts < 0 ? countOfA : countOfB, [&](ssize_t i)
                    { return CompareElements(question, elementOf(typeOfA, a, i), elementOf(typeOfB, b, i), 1); });
    return order != 0 ? order : orderOfCounts;
}

int CompareForeignMaps(EComparison question, const ForeignType& typeOfA, const ForeignType& typeOfB, const Operand& a,
                       const Operand& b)
{
    const int orderOfCounts = Order(typeOfA.m_map->Count(a.m_data), typeOfB.m_map->Count(b.m_data));
    if (IsEquality(question) && orderOfCounts != 0)
        return orderOfCounts;
    const std::vector<MapEntry> entriesOfA = ListForeignEntries(typeOfA, a.m_data);
    const std::vector<MapEntry> entriesOfB = ListForeignEntries(typeOfB, b.m_data);
    const int order = CompareEach(static_cast<ssize_t>(std::min(entriesOfA.size(), entriesOfB.size())),
                                  [&](ssize_t i)
                                  {
                                      const MapEntry& entryOfA = entriesOfA[static_cast<std::size_t>(i)];
                                      const MapEntry& entryOfB = entriesOfB[static_cast<std::size_t>(i)];
                                      const int orderOfKeys =
                                          CompareElements(OfKeys(question), {typeOfA.GetPartType(0), entryOfA.m_key},
                                                          {typeOfB.GetPartType(0), entryOfB.m_key}, 1);
                                      if (orderOfKeys != 0 || typeOfA.m_numParts == 1)
                                          return orderOfKeys;
                                      return CompareElements(question, {typeOfA.GetPartType(1), entryOfA.m_payload},
                                                             {typeOfB.GetPartType(1), entryOfB.m_payload}, 1);
                                  });
    return order != 0 ? order : orderOfCounts;
}

// What is empty comes before what is not, then alternatives in their order.
int CompareForeignChoices(EComparison question, const ForeignType& typeOfA, const ForeignType& typeOfB,
                          const Operand& a, const Operand& b)
{
    const int32 index = typeOfA.m_choice->GetIndex(a.m_data);
    const int order = Order(index, typeOfB.m_choice->GetIndex(b.m_data));
    if (order != 0 || index < 0)
        return order;
    const auto* const valueOfA = static_cast<const char*>(typeOfA.m_choice->GetValue(a.m_data));
    const auto* const valueOfB = static_cast<const char*>(typeOfB.m_choice->GetValue(b.m_data));
    const auto compare = [&]
    {
        return CompareElements(question, {typeOfA.GetPartType(index), valueOfA}, {typeOfB.GetPartType(index), valueOfB},
                               1);
    };
    if (!IsShared(typeOfA, a.m_data) && !IsShared(typeOfB, b.m_data)) [[likely]]
        return compare();
    // Two that are being compared already differ, if they do, in what is found there.
    SharedTargets<std::tuple<EComparison, const void*, const void*>> pairs;
    return pairs.Add({question, valueOfA, valueOfB}) ? compare() : 0;
}

// The records of two libraries may differ where the types are the same.
int CompareForeign(EComparison question, const Operand& a, const Operand& b)
{
    const ForeignType& typeOfA = a.m_type.GetForeignType();
    const ForeignType& typeOfB = b.m_type.GetForeignType();
    switch (typeOfA.GetForm()) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case FF_TEXT: return typeOfA.m_text->Compare(a.m_data, b.m_data);
    case FF_LIST: return CompareForeignLists(question, typeOfA, typeOfB, a, b);
    case FF_MAP: return CompareForeignMaps(question, typeOfA, typeOfB, a, b);
    case FF_CHOICE: return CompareForeignChoices(question, typeOfA, typeOfB, a, b);
    }
    return 0; // GCOVR_EXCL_LINE: every one has returned
}

// Compares `count` variables of one type.
int CompareElements(EComparison question, Operand a, Operand b, ssize_t count)
{
    if (IsStackLow())
        return CallOnFreshSegment([&] { return CompareElements(question, a, b, count); });
    ssize_t countOfB = count;
    a.m_type = EnterArrays(a.m_type, count, s_sourceFile);
    b.m_type = EnterArrays(b.m_type, countOfB, s_sourceFile);
    const TypeCode& code = GetTypeCode(a.m_type);
    const auto advance = [&](ssize_t i, auto compare)
    { return compare(question, a.At(a.m_type, i * code.m_size), b.At(b.m_type, i * code.m_size)); };
    switch (code.m_kind) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case VK_NONE: KELM_ASSERT(code.m_kind != VK_NONE); return 0;
    case VK_ARRAY:
    case VK_VOID: return 0;
    case VK_SCALAR:
        return VisitScalarType(
            a.m_type.GetCode(),
            [&]<class T>(std::type_identity<T>) { return CompareValues<T>(question, a.m_data, b.m_data, count); },
            [] { return 0; });
    case VK_ENUM: return CompareValues<int32>(question, a.m_data, b.m_data, count);
    case VK_STRING8: return CompareValues<xstring>(question, a.m_data, b.m_data, count);
    case VK_STRING16: return CompareValues<xstring16>(question, a.m_data, b.m_data, count);
    case VK_CLASS: return CompareClasses(question, a, b, count);
    case VK_VARIANT: return CompareVariants(question, a, b, count);
    case VK_VECTOR: return CompareEach(count, [&](ssize_t i) { return advance(i, CompareVectors); });
    case VK_MAP:
    case VK_SET: return CompareEach(count, [&](ssize_t i) { return advance(i, CompareMapsOrSets); });
    case VK_HANDLE: return CompareEach(count, [&](ssize_t i) { return CompareHandles(a, b, i); });
    case VK_PREF: return CompareEach(count, [&](ssize_t i) { return ComparePrefs(a, b, i); });
    case VK_FOREIGN:
    {
        const ssize_t size = a.m_type.GetForeignType().m_size;
        return CompareEach(count, [&](ssize_t i)
                           { return CompareForeign(question, a.At(a.m_type, i * size), b.At(b.m_type, i * size)); });
    }
    }
    return 0; // GCOVR_EXCL_LINE: every one has returned
}

int CompareVariables(EComparison question, const Operand& a, const Operand& b)
{
    if (a.m_type.m_bc == nullptr || b.m_type.m_bc == nullptr)
        return Order(a.m_type.m_bc != nullptr, b.m_type.m_bc != nullptr);
    if (const int order = CompareTypes(a.m_type, b.m_type))
        return order;
    return CompareElements(question, a, b, 1);
}

// Of texts of their own, and of alternatives, by name.
int CompareTexts(ConstStringZ a, ConstStringZ b)
{
    if (a == nullptr || b == nullptr)
        return Order(a != nullptr, b != nullptr);
    return Order(std::strcmp(a, b), 0);
}

int CompareForeignTypes(const ForeignType& a, const ForeignType& b)
{
    if (&a == &b)
        return 0;
    if (const int order = Order(a.m_form, b.m_form))
        return order;
    if (const int order = Order(a.m_size, b.m_size))
        return order;
    if (const int order = Order(a.m_numParts, b.m_numParts))
        return order;
    if (const int order = Order(a.m_name.compare(b.m_name), 0)) // an optional and a pointer are made alike
        return order;
    const auto isNamed = [](const ForeignType& type)
    { return type.m_form == FF_CHOICE && type.m_choice->m_names != nullptr; };
    if (const int order = Order(isNamed(a), isNamed(b)))
        return order;
    return CompareEach(a.m_numParts,
                       [&](ssize_t i)
                       {
                           if (isNamed(a))
                               if (const int order = CompareTexts(a.m_choice->m_names[i], b.m_choice->m_names[i]))
                                   return order;
                           return CompareTypes(a.GetPartType(i), b.GetPartType(i));
                       });
}

} // namespace

int CompareTypes(ReflectionByteCode a, ReflectionByteCode b)
{
    for (;;)
    {
        a.AdvanceToUnderlyingType2();
        b.AdvanceToUnderlyingType2();
        if (a.m_bc == b.m_bc && a.m_stringTable == b.m_stringTable)
            return 0;
        if (const int order = Order<uint8>(a.GetCode(), b.GetCode()))
            return order;
        const TypeCode& code = GetTypeCode(a);
        if (a.GetCode() == FT_ARRAY)
        {
            if (const int order = Order(a.GetArrayCount(), b.GetArrayCount()))
                return order;
        }
        else if (a.GetCode() == FT_FOREIGN)
        {
            return CompareForeignTypes(a.GetForeignType(), b.GetForeignType());
        }
        else if (code.m_operandBytes > 0)
        {
            return std::strcmp(a.GetName(), b.GetName());
        }
        if (code.m_types == 0)
            return 0;
        a = a.GetElementType();
        b = b.GetElementType();
        if (code.m_types == 2)
        {
            if (const int order = CompareTypes(a, b))
                return order;
            a.ScanType();
            b.ScanType();
        }
    }
}

int CompareReflectedVariables(EComparison question, ReflectionByteCode rbc1, const void* p1, ReflectionByteCode rbc2,
                              const void* p2)
{
    return CompareVariables(question, {rbc1, static_cast<const char*>(p1)}, {rbc2, static_cast<const char*>(p2)});
}

bool CompareEqReflectedVariable(ReflectionByteCode rbc1, const void* p1, ReflectionByteCode rbc2, const void* p2)
{
    return CompareReflectedVariables(VALUES_EQUAL, rbc1, p1, rbc2, p2) == 0;
}

bool CompareLtReflectedVariable(ReflectionByteCode rbc1, const void* p1, ReflectionByteCode rbc2, const void* p2)
{
    return CompareReflectedVariables(VALUES_ORDER, rbc1, p1, rbc2, p2) < 0;
}

} // namespace kelm
