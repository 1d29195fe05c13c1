#include <kelm/private/types/TypeText.h>

#include <klObject/types/ETypeByteCode.h>
#include <klObject/types/ForeignType.h>
#include <klUtils/types.h>

#include <algorithm>
#include <iterator>

namespace kelm
{

namespace
{

struct NamedCode
{
    ETypeByteCode m_code;
    ConstStringZ m_text;
};

// The types that are a code alone.
constexpr NamedCode s_plainTypes[] = {
    {FT_VOID, "void"},
    {FT_BOOL, "bool"},
    {FT_INT8, "int8"},
    {FT_INT16, "int16"},
    {FT_INT32, "int32"},
    {FT_INT64, "int64"},
    {FT_INT128, "int128"},
    {FT_UINT8, "uint8"},
    {FT_UINT16, "uint16"},
    {FT_UINT32, "uint32"},
    {FT_UINT64, "uint64"},
    {FT_UINT128, "uint128"},
    {FT_FLOAT32, "float32"},
    {FT_FLOAT64, "float64"},
    {FT_CHAR8, "char"},
    {FT_CHAR16, "char16_t"},
    {FT_STRING8, "xstring"},
    {FT_STRING16, "xstring16"},
    {FT_FUNCTOR, "functor"},
    {FT_FUNCTION_PTR, "fn*"},
    {FT_NOT_REFLECTED, "not_reflected"},
    {FT_PARAM_0, "T0"},
    {FT_PARAM_1, "T1"},
    {FT_PARAM_2, "T2"},
    {FT_PARAM_3, "T3"},
    {FT_PARAM_4, "T4"},
    {FT_PARAM_5, "T5"},
    {FT_OPEN_VARIANT, "open_variant"},
};

struct Wrapper
{
    ETypeByteCode m_code;
    ConstStringZ m_before;
    ConstStringZ m_behind;
};

// The types that are a code and one type.
constexpr Wrapper s_wrappers[] = {
    {FT_VOLATILE, "volatile ", ""},
    {FT_ASSIGNABLE, "assignable ", ""},
    {FT_MOVABLE, "movable ", ""},
    {FT_OFFSETTABLE, "offsettable ", ""},
    {FT_POINTER, "", "*"},
    {FT_REFERENCE, "", "&"},
    {FT_INTERFACE_POINTER, "ptr<", ">"},
    {FT_PREF, "pref<", ">"},
    {FT_CREF, "cref<", ">"},
    {FT_VECTOR, "xvector<", ">"},
    {FT_DEQUE, "xdeque<", ">"},
    {FT_LIST, "xlist<", ">"},
    {FT_SET, "xset<", ">"},
    {FT_BAG, "xbag<", ">"},
    {FT_DYNARRAY, "xdynarray<", ">"},
};

template <class Table>
auto Find(const Table& table, ETypeByteCode code)
{
    const auto* const row = std::find_if(std::begin(table), std::end(table),
                                         [code](const auto& candidate) { return candidate.m_code == code; });
    return row == std::end(table) ? nullptr : row;
}

std::string ArrayText(ReflectionByteCode type)
{
    std::string dimensions;
    while (type.GetCode() == FT_ARRAY)
    {
        dimensions += "[" + std::to_string(type.GetArrayCount()) + "]";
        type = type.GetElementType();
    }
    return TypeText(type) + dimensions;
}

std::string MapText(const ReflectionByteCode& type)
{
    const ReflectionByteCode key = type.GetElementType();
    ReflectionByteCode payload = key;
    payload.ScanType();
    return "xmap<" + TypeText(key) + ", " + TypeText(payload) + ">";
}

std::string ForeignText(const ForeignType& type)
{
    const auto of = [&type](const char* name)
    {
        std::string text = name;
        for (int32 i = 0; i < type.m_numParts; ++i)
        {
            ReflectionByteCode part = type.GetPartType(i);
            if (type.GetForm() == FF_LIST) // bits are const for who would write them where they are
                part.AdvanceToUnderlyingType2();
            text += (i == 0 ? "<" : ", ") + TypeText(part);
        }
        return text + ">";
    };
    switch (type.GetForm())
    {
    case FF_TEXT: return type.m_text->m_what;
    case FF_LIST: return of(type.m_list->m_isFixed ? "pair" : "vector");
    case FF_MAP: return of(type.m_numParts == 2 ? "map" : "set");
    case FF_CHOICE: return of(!type.IsOptional() ? "variant" : type.m_choice->m_isPointer ? "pointer" : "optional");
    }
    return {};
}

std::string ConstText(const std::string& type)
{
    return type.ends_with('*') ? type + " const" : "const " + type;
}

} // namespace

std::string TypeText(ReflectionByteCode type)
{
    if (type.m_bc == nullptr)
        return "void";
    while (type.GetCode() >= MDT_FLAGS)
        type.ScanMetaDataItem();
    const ETypeByteCode code = type.GetCode();
    if (const NamedCode* const plain = Find(s_plainTypes, code))
        return plain->m_text;
    if (const Wrapper* const wrapper = Find(s_wrappers, code))
        return wrapper->m_before + TypeText(type.GetElementType()) + wrapper->m_behind;
    if (code == FT_CONST)
        return ConstText(TypeText(type.GetElementType()));
    if (code == FT_ARRAY)
        return ArrayText(type);
    if (code == FT_MAP)
        return MapText(type);
    if (code == FT_FOREIGN)
        return ForeignText(type.GetForeignType());
    return type.GetName();
}

} // namespace kelm
