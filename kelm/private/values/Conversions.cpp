#include <kelm/private/values/Conversions.h>

#include <kelm/private/types/TypeText.h>
#include <klObject/types/EnumIndex.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/private/TypeCodes.h>
#include <klObject/values/WriteVariable.h>
#include <klObject/values/private/ScalarTypes.h>
#include <klUtils/MessageOf.h>
#include <klUtils/ToString.h>
#include <klUtils/Utf16FromUtf8.h>
#include <klUtils/xostream.h>
#include <klUtils/xstring.h>

namespace kelm
{

namespace
{

// Before most types there are none.
void PassQualifiers(ReflectionByteCode& type)
{
    if (GetTypeCode(type).m_passedAs != 0) [[unlikely]]
        type.AdvanceToUnderlyingType2();
}

// --- characters and texts

Scalar TextInRoom(const xstring& text, std::string& room)
{
    room = text.view();
    return Scalar(std::string_view(room));
}

Scalar LoadString16(const xstring16& text, std::string& room)
{
    xstring utf8;
    return Utf8FromUtf16(utf8, text.data(), text.size()) ? TextInRoom(utf8, room) : Scalar();
}

Scalar LoadChar16(const void* data, std::string& room)
{
    xstring16 text;
    text.push_back(LoadScalar<uint16>(data));
    return LoadString16(text, room);
}

Scalar LoadEnumerator(const ReflectedEnum* r, int32 value)
{
    const int32 i = r != nullptr ? FindEnumeratorByValue(*r, value) : -1;
    return i >= 0 ? Scalar(std::string_view(r->m_strings[i])) : Scalar(value);
}

Fit StoreChar8(void* data, std::string_view text)
{
    if (text.size() != 1)
        return Fit::OtherType;
    std::memcpy(data, text.data(), 1);
    return Fit::Fits;
}

Fit StoreString16(xstring16& string, std::string_view text)
{
    return Utf16FromUtf8(string, text.data(), static_cast<long>(text.size())) ? Fit::Fits : Fit::OtherType;
}

Fit StoreChar16(void* data, std::string_view text)
{
    xstring16 units;
    if (StoreString16(units, text) != Fit::Fits || units.size() != 1)
        return Fit::OtherType;
    std::memcpy(data, units.data(), sizeof(uint16));
    return Fit::Fits;
}

Fit StoreEnumerator(const ReflectedEnum* r, void* data, std::string_view name)
{
    const int32 i = r != nullptr ? FindEnumerator(*r, name) : -1;
    if (i < 0)
        return Fit::UnknownName;
    const int32 value = r->GetValue(i);
    std::memcpy(data, &value, sizeof value);
    return Fit::Fits;
}

Fit StoreText(const ReflectionByteCode& type, void* data, std::string_view text)
{
    switch (type.GetCode())
    {
    case FT_CHAR8: return StoreChar8(data, text);
    case FT_CHAR16: return StoreChar16(data, text);
    case FT_STRING8: static_cast<xstring*>(data)->assign(text.data(), static_cast<ssize_t>(text.size())); break;
    case FT_STRING16: return StoreString16(*static_cast<xstring16*>(data), text);
    case FT_ENUM: return StoreEnumerator(type.GetReflectedEnum(), data, text);
    default: return Fit::OtherType;
    }
    return Fit::Fits;
}

// --- foreign types

// An optional is what it holds.
Scalar LoadForeign(const ForeignType& type, const void* data, std::string& room)
{
    if (type.GetForm() == FF_CHOICE)
    {
        const int32 part = type.m_choice->GetIndex(data);
        return part < 0 ? Scalar() : LoadScalar(type.GetPartType(part), type.m_choice->GetValue(data), room);
    }
    if (type.GetForm() != FF_TEXT)
        return Scalar();
    char buffer[ForeignTextFns::BufferSize];
    const SubString text = type.m_text->Get(data, buffer);
    if (text.m_p1 < buffer || buffer + sizeof buffer <= text.m_p1)
        return Scalar(std::string_view(text.m_p1, static_cast<std::size_t>(text.size())));
    if (text.empty() && type.m_text->m_isIdentifier)
        return Scalar(type.m_text->GetNumber(data)); // none of the enumerators
    room.assign(text.begin(), text.end());
    return Scalar(std::string_view(room));
}

Fit StoreForeign(const ForeignType& type, void* data, const Scalar& scalar)
{
    if (type.IsOptional())
    {
        const bool isEmpty = type.m_choice->GetIndex(data) < 0;
        void* const value = isEmpty ? type.m_choice->Emplace(data, 0) : type.m_choice->GetValue(data);
        const Fit fit = StoreScalar(type.GetPartType(0), value, scalar);
        if (isEmpty && fit != Fit::Fits)
            type.m_choice->Reset(data);
        return fit;
    }
    if (type.GetForm() != FF_TEXT || scalar.m_kind != Scalar::Kind::Text)
        return Fit::OtherType;
    if (type.m_text->Set(data, scalar.m_text))
        return Fit::Fits;
    if (type.m_text->IsBeyondRange != nullptr && type.m_text->IsBeyondRange(scalar.m_text))
        return Fit::OutOfRange;
    return type.m_text->m_names != nullptr ? Fit::UnknownName : Fit::OtherType;
}

template <class T>
Fit StoreNumber(void* data, const Scalar& scalar)
{
    T value;
    const Fit fit = Convert(scalar, value);
    if (fit == Fit::Fits)
        std::memcpy(data, &value, sizeof value);
    return fit;
}

class TextOutput : public xostream
{
public:
    using xostream::put;
    void put(const char* text, long length) override { m_text.append(text, static_cast<std::size_t>(length)); }

    std::string m_text;
};

std::string Quoted(std::string_view text)
{
    static constexpr uint8 s_stringType[] = {FT_STRING8};
    const xstring shown(text);
    TextOutput quoted;
    WriteVariable(quoted, {s_stringType, nullptr}, &shown);
    return quoted.m_text;
}

std::vector<std::string> EnumeratorsOf(const ReflectionByteCode& type)
{
    std::vector<std::string> names;
    if (const ReflectedEnum* const r = type.GetReflectedEnum())
        names.assign(r->m_strings, r->m_strings + r->m_count);
    else if (type.GetCode() == FT_FOREIGN && type.GetForeignType().GetForm() == FF_TEXT)
        names.assign(type.GetForeignType().m_text->m_names,
                     type.GetForeignType().m_text->m_names + type.GetForeignType().m_text->m_numNames);
    return names;
}

} // namespace

Scalar LoadScalar(ReflectionByteCode type, const void* data, std::string& room)
{
    PassQualifiers(type);
    switch (type.GetCode())
    {
    case FT_BOOL: return Scalar(LoadScalar<bool>(data));
    case FT_INT8: return Scalar(LoadScalar<int8>(data));
    case FT_INT16: return Scalar(LoadScalar<int16>(data));
    case FT_INT32: return Scalar(LoadScalar<int32>(data));
    case FT_INT64: return Scalar(LoadScalar<int64>(data));
    case FT_UINT8: return Scalar(LoadScalar<uint8>(data));
    case FT_UINT16: return Scalar(LoadScalar<uint16>(data));
    case FT_UINT32: return Scalar(LoadScalar<uint32>(data));
    case FT_UINT64: return Scalar(LoadScalar<uint64>(data));
    case FT_FLOAT32: return Scalar(LoadScalar<float32>(data));
    case FT_FLOAT64: return Scalar(LoadScalar<float64>(data));
    case FT_CHAR8: return Scalar(std::string_view(static_cast<const char*>(data), 1));
    case FT_CHAR16: return LoadChar16(data, room);
    case FT_STRING8: return Scalar(static_cast<const xstring*>(data)->view());
    case FT_STRING16: return LoadString16(*static_cast<const xstring16*>(data), room);
    case FT_ENUM: return LoadEnumerator(type.GetReflectedEnum(), LoadScalar<int32>(data));
    case FT_FOREIGN: return LoadForeign(type.GetForeignType(), data, room);
    default: return Scalar();
    }
}

Fit StoreScalar(ReflectionByteCode type, void* data, const Scalar& scalar)
{
    PassQualifiers(type);
    switch (type.GetCode())
    {
    case FT_BOOL:
    {
        bool value = false;
        const Fit fit = Convert(scalar, value);
        if (fit == Fit::Fits)
            *static_cast<uint8*>(data) = value;
        return fit;
    }
    case FT_INT8: return StoreNumber<int8>(data, scalar);
    case FT_INT16: return StoreNumber<int16>(data, scalar);
    case FT_INT32: return StoreNumber<int32>(data, scalar);
    case FT_INT64: return StoreNumber<int64>(data, scalar);
    case FT_UINT8: return StoreNumber<uint8>(data, scalar);
    case FT_UINT16: return StoreNumber<uint16>(data, scalar);
    case FT_UINT32: return StoreNumber<uint32>(data, scalar);
    case FT_UINT64: return StoreNumber<uint64>(data, scalar);
    case FT_FLOAT32: return StoreNumber<float32>(data, scalar);
    case FT_FLOAT64: return StoreNumber<float64>(data, scalar);
    case FT_FOREIGN: return StoreForeign(type.GetForeignType(), data, scalar);
    default: return scalar.m_kind == Scalar::Kind::Text ? StoreText(type, data, scalar.m_text) : Fit::OtherType;
    }
}

std::string TextOf(const Scalar& scalar)
{
    const auto text = [](const NumberText& number)
    {
        const SubString view = number;
        return std::string(view.begin(), view.end());
    };
    switch (scalar.m_kind)
    {
    case Scalar::Kind::None: return "null";
    case Scalar::Kind::Bool: return scalar.m_bool ? "true" : "false";
    case Scalar::Kind::Int64: return text(NumberText(scalar.m_int64));
    case Scalar::Kind::UInt64: return text(NumberText(scalar.m_uint64));
    case Scalar::Kind::Float64: return text(NumberText(scalar.m_float64));
    case Scalar::Kind::Text: return Quoted(scalar.m_text);
    }
    return {};
}

std::string TextOf(ReflectionByteCode type, const void* data)
{
    std::string room;
    const Scalar scalar = LoadScalar(type, data, room);
    if (scalar.m_kind != Scalar::Kind::None)
        return TextOf(scalar);
    type.AdvanceToUnderlyingType2();
    return TypeText(type);
}

namespace evaluation
{

std::string Written(const Scalar& scalar)
{
    constexpr std::size_t maxShown = 64;
    if (scalar.m_kind != Scalar::Kind::Text)
        return TextOf(scalar);
    return std::string(scalar.m_text.substr(0, maxShown)) + (scalar.m_text.size() > maxShown ? "..." : "");
}

bool FailMisfit(Failure& failure, Fit fit, ReflectionByteCode wanted, const Scalar& value)
{
    wanted.AdvanceToUnderlyingType2();
    // What an optional holds is what the value does not become.
    while (wanted.GetCode() == FT_FOREIGN && wanted.GetForeignType().IsOptional())
    {
        wanted = wanted.GetForeignType().GetPartType(0);
        wanted.AdvanceToUnderlyingType2();
    }
    const std::string type = TypeText(wanted);
    switch (fit)
    {
    case Fit::Fits:
    case Fit::OtherType: break;
    case Fit::OutOfRange:
        return Fail(failure, ErrorKind::Range, "Value " + Written(value) + " is out of range of " + type);
    case Fit::UnknownName:
        return FailUnknown(failure, "Unknown member '" + Written(value) + "' of enum " + type, value.m_text,
                           EnumeratorsOf(wanted));
    }
    return FailOtherType(failure, Written(value), type);
}

bool FailOtherType(Failure& failure, const std::string& written, std::string_view wanted)
{
    return Fail(failure, ErrorKind::Type,
                "No implicit conversion from value " + written + " to " + std::string(wanted));
}

} // namespace evaluation

} // namespace kelm
