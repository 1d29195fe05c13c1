#include <klKelmScript/KSValue.h>

#include <klKelmScript/private/KSValueOperations.h>
#include <klKelmScript/private/RegisterInModule.h>
#include <klObject/objects/Collector.h>
#include <klObject/types/TypeOps.h>
#include <klObject/values/ReflectedVariable.h>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "src/KSValue";

} // namespace

// The array operations are part of the library's interface, beside the record that points at them.
template KLKELMSCRIPT_API void ConstructArray<KSValue>(void*, ssize_t, ssize_t);
template KLKELMSCRIPT_API void CopyConstructArray<KSValue>(void*, ssize_t, const void*, ssize_t, ssize_t);
template KLKELMSCRIPT_API void AssignArray<KSValue>(void*, ssize_t, const void*, ssize_t, ssize_t);
template KLKELMSCRIPT_API void DestructArray<KSValue>(void*, ssize_t, ssize_t);
template KLKELMSCRIPT_API bool VariableEqual<KSValue>(const void*, const void*);
template KLKELMSCRIPT_API bool VariableLess<KSValue>(const void*, const void*);
template KLKELMSCRIPT_API void PrintVariable<KSValue>(xostream&, const void*);
template KLKELMSCRIPT_API ssize_t BinaryLowerBound<KSValue>(const void*, ssize_t, ssize_t, const void*);
template KLKELMSCRIPT_API ssize_t BinaryUpperBound<KSValue>(const void*, ssize_t, ssize_t, const void*);

// --- The exception ---------------------------------------------------------------------------------------------------

KSValueException::KSValueException(ConstStringZ description) : MessageException(description) {}

KSValueException::~KSValueException() = default;

// --- Payloads --------------------------------------------------------------------------------------------------------

void KSValue::ConstructOwned(const KSValue& other)
{
    try
    {
        if (_tag == KSV_STRING8)
            ::new (static_cast<void*>(_data)) xstring(other.as<string8>());
        else
            ::new (static_cast<void*>(_data)) ReflectedValue(other.as<ReflectedValue>());
    }
    catch (...)
    {
        // The storage may hold what was destroyed before; zero bytes own nothing, so the value can be destroyed.
        std::memset(_data, 0, sizeof _data);
        throw;
    }
}

void KSValue::DestroyOwned() noexcept
{
    if (_tag == KSV_STRING8)
        as<string8>().~xstring();
    else
        as<ReflectedValue>().~ReflectedValue();
}

namespace
{

template <EComparison C>
int CompareKSValues(const KSValue& a, const KSValue& b)
{
    if (a.GetTag() != b.GetTag())
        return CompareScalars<C, int32>(a.GetTag(), b.GetTag());
    switch (a.GetTag())
    {
    case KSV_VOID: return 0;
    case KSV_BOOL: return CompareScalars<C>(KSValueAccess::Get<bool>(a), KSValueAccess::Get<bool>(b));
    case KSV_INT64: return CompareScalars<C>(KSValueAccess::Get<int64>(a), KSValueAccess::Get<int64>(b));
    case KSV_FLOAT64: return CompareScalars<C>(KSValueAccess::Get<float64>(a), KSValueAccess::Get<float64>(b));
    case KSV_STRING8: return Compare<C>(a.as<string8>(), b.as<string8>());
    case KSV_REFLECTED_VALUE: return Compare<C>(a.as<ReflectedValue>(), b.as<ReflectedValue>());
    }
    return 0;
}

} // namespace

int KSValue::CompareWith(const KSValue& other, EComparison question) const
{
    switch (question) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case VALUES_EQUAL: return CompareKSValues<VALUES_EQUAL>(*this, other);
    case VALUES_ORDER: return CompareKSValues<VALUES_ORDER>(*this, other);
    case KEYS_EQUAL: return CompareKSValues<KEYS_EQUAL>(*this, other);
    case KEYS_ORDER: return CompareKSValues<KEYS_ORDER>(*this, other);
    }
    return 0; // GCOVR_EXCL_LINE: every one has returned
}

bool KSValue::operator==(const KSValue& other) const
{
    return CompareKSValues<VALUES_EQUAL>(*this, other) == 0;
}

bool KSValue::operator<(const KSValue& other) const
{
    return CompareKSValues<VALUES_ORDER>(*this, other) < 0;
}

void KSValue::Write(xostream& os) const
{
    switch (GetTag())
    {
    case KSV_VOID: os << "void"; return;
    case KSV_BOOL: os.put(KSValueAccess::Get<bool>(*this)); return;
    case KSV_INT64: os.put(KSValueAccess::Get<int64>(*this)); return;
    case KSV_FLOAT64: os.put(KSValueAccess::Get<float64>(*this)); return;
    case KSV_STRING8: os << as<string8>(); return;
    case KSV_REFLECTED_VALUE: // GCOVR_EXCL_LINE: only in processes that end by it
    {
        // Without end, on purpose: there is no text form, and what would write one is this very function.
        const KSValue temporary(as<ReflectedValue>()); // GCOVR_EXCL_LINE: only in processes that end by it
        temporary.Write(os);                           // GCOVR_EXCL_LINE: the same
        return;                                        // GCOVR_EXCL_LINE: it does not come back
    }
    }
    ThrowKelmAssertionError("0", s_sourceFile, __LINE__);
}

void KSValue::VisitObjects(IObjectVisitor& visitor) const
{
    if (is<ReflectedValue>() && as<ReflectedValue>().m_rbc.m_bc != nullptr)
        VisitObjectsInReflectedVariable(as<ReflectedValue>().m_rbc, as<ReflectedValue>().m_data.data(), visitor);
}

void KSValue::VisitPrefs(IPrefVisitor& visitor) const
{
    if (is<ReflectedValue>() && as<ReflectedValue>().m_rbc.m_bc != nullptr)
        VisitPrefsInReflectedVariable(as<ReflectedValue>().m_rbc, as<ReflectedValue>().m_data.data(), visitor);
}

// --- Names, standard failures, checked conversions -------------------------------------------------------------------

const char* TypeToString(EKSValue tag)
{
    static constexpr const char* s_names[] = {"void", "bool", "int64", "float64", "string"};
    if (tag < KSV_VOID || tag > KSV_STRING8)
    {
        ThrowKelmAssertionError("0", s_sourceFile, __LINE__);
        return nullptr; // GCOVR_EXCL_LINE: the assertion has thrown
    }
    return s_names[tag];
}

void ThrowIncompatibleTypesException(const KSValue& a, const KSValue& b, const char* op)
{
    const char* const nameOfB = TypeToString(b.GetTag());
    const char* const nameOfA = TypeToString(a.GetTag());
    ThrowValueException("Incompatible types (", nameOfA, " and ", nameOfB, ") for ", op, " operation");
}

void ThrowIncompatibleTypeException(const KSValue& a, const char* op)
{
    ThrowValueException("Incompatible type (", TypeToString(a.GetTag()), ") for unary ", op, " operation");
}

template <> // NOLINTNEXTLINE(performance-unnecessary-value-param): by value as its template
void ThrowNoImplicitConversionFromValue<KSValue>(KSValue value, const char* typeName)
{
    ThrowValueException("No implicit conversion from value ", value, " to ", typeName);
}

template <>
bool As<bool>(const KSValue& v, bool allowExplicitConversions)
{
    bool x = false;
    if (!Coerce(x, v, allowExplicitConversions))
        ThrowNoImplicitConversionFromValue(v, "bool");
    return x;
}

template <>
double As<double>(const KSValue& v, bool allowExplicitConversions)
{
    double x = 0.0;
    if (!Coerce(x, v, allowExplicitConversions))
        ThrowNoImplicitConversionFromValue(v, "float64");
    return x;
}

// --- Unary and postfix operations ------------------------------------------------------------------------------------

namespace
{

int64 WrappingNegation(int64 x)
{
    return static_cast<int64>(0 - static_cast<uint64>(x));
}

// The refusal of subscripts and len on the kinds that have neither.
void ThrowNotAvailable(ConstStringZ operation, EKSValue tag)
{
    ThrowValueException(operation, " not available on ", TypeToString(tag));
}

bool IsScalar(EKSValue tag)
{
    return KSV_VOID <= tag && tag <= KSV_FLOAT64;
}

// Subscripts and len have no successful way back: they end here, whatever they have written.
void FailWithoutReturn(int line)
{
    ThrowKelmAssertionError("0", s_sourceFile, line);
    throw; // GCOVR_EXCL_LINE: the assertion has thrown
}

// What is rare needs a frame, which what is common does without.
[[gnu::noinline]] void NegateAny(KSValue& v)
{
    int64 i = 0;
    float64 f = 0.0;
    if (Read(i, v))
        KSValueAccess::Set(v, WrappingNegation(i));
    else if (Read(f, v))
        KSValueAccess::Set(v, -f);
    else
        ThrowIncompatibleTypeException(v, "-");
}

[[gnu::noinline]] void ComplementAny(KSValue& v)
{
    int64 i = 0;
    if (!Read(i, v))
        ThrowIncompatibleTypeException(v, "~");
    KSValueAccess::Set(v, ~i);
}

} // namespace

void ApplyUnaryPlus(KSValue& v)
{
    int64 i = 0;
    float64 f = 0.0;
    if (Read(i, v))
        KSValueAccess::Set(v, i);
    else if (Read(f, v))
        KSValueAccess::Set(v, f);
    else
        ThrowIncompatibleTypeException(v, "+");
}

void ApplyUnaryMinus(KSValue& v)
{
    if (!v.is<int64>()) [[unlikely]]
        return NegateAny(v);
    KSValueAccess::Construct(v, WrappingNegation(KSValueAccess::Get<int64>(v)));
}

void ApplyUnaryBitComplement(KSValue& v)
{
    if (!v.is<int64>()) [[unlikely]]
        return ComplementAny(v);
    KSValueAccess::Construct(v, ~KSValueAccess::Get<int64>(v));
}

void ApplyUnaryNot(KSValue& v)
{
    if (!v.is<bool>()) [[unlikely]]
        return KSValueAccess::Set(v, !As<bool>(v, false));
    KSValueAccess::Construct(v, !KSValueAccess::Get<bool>(v));
}

void ApplyFunction(KSValue&, const xvector<KSValue>&)
{
    throw KSValueException("Function call not implemented currently");
}

void ApplyDot(KSValue&, const xstring&)
{
    throw KSValueException("Dot not implemented currently");
}

void ApplySubscript(KSValue& v, const KSValue& index)
{
    static constexpr int s_endLine = 816;
    if (IsScalar(v.GetTag()))
        ThrowNotAvailable("[]", v.GetTag());
    if (!v.is<string8>())
        FailWithoutReturn(s_endLine);

    int64 i = 0;
    if (!Coerce(i, index, false))
        ThrowNoImplicitConversionFromValue(index, "int64");
    const xstring& text = v.as<string8>();
    if (i < 0 || i >= text.size())
        ThrowValueException("Index ", i, " out of range [0,", text.size(), ") on string");
    KSValueAccess::Set(v, int64(static_cast<int8>(text[i])));
    FailWithoutReturn(s_endLine);
}

void ApplyLen(KSValue& v)
{
    static constexpr int s_endLine = 835;
    if (IsScalar(v.GetTag()))
        ThrowNotAvailable("len()", v.GetTag());
    if (v.is<string8>())
        KSValueAccess::Set(v, static_cast<int64>(v.as<string8>().size()));
    FailWithoutReturn(s_endLine);
}

// --- Reflection ------------------------------------------------------------------------------------------------------

namespace
{

constexpr uint8 s_void[] = {FT_VOID};
constexpr uint8 s_bool[] = {FT_BOOL};
constexpr uint8 s_int64[] = {FT_INT64};
constexpr uint8 s_float64[] = {FT_FLOAT64};
constexpr uint8 s_string8[] = {FT_STRING8};
constexpr uint8 s_reflectedValue[] = {FT_CLASS, 0, 0};

constexpr ConstStringZ s_stringTable[] = {"kelm::ReflectedValue", nullptr};

constexpr ssize_t s_payloadOffset = 4;

constexpr ReflectedField s_alternatives[] = {
    {"void", s_payloadOffset, s_void},
    {"bool", s_payloadOffset, s_bool},
    {"kelm::int64", s_payloadOffset, s_int64},
    {"kelm::float64", s_payloadOffset, s_float64},
    {"kelm::string8", s_payloadOffset, s_string8},
    {"kelm::ReflectedValue", s_payloadOffset, s_reflectedValue},
};

constexpr TypeOps s_typeOps = {
    .m_size = sizeof(KSValue),
    .m_equalsFn = VariableEqual<KSValue>,
    .m_lessFn = VariableLess<KSValue>,
    .m_PrintVariableFn = PrintVariable<KSValue>,
    .m_ConstructArrayFn = ConstructArray<KSValue>,
    .m_CopyConstructArrayFn = CopyConstructArray<KSValue>,
    .m_AssignArrayFn = AssignArray<KSValue>,
    .m_DestructArrayFn = DestructArray<KSValue>,
    .m_LowerBoundFn = BinaryLowerBound<KSValue>,
    .m_UpperBoundFn = BinaryUpperBound<KSValue>,
};

constexpr ReflectedVariant s_variant = {
    .m_name = "kelm::KSValue",
    .m_size = sizeof(KSValue),
    .m_fields = s_alternatives,
    .m_numFields = std::size(s_alternatives),
    .m_stringTable = s_stringTable,
    .m_ops = &s_typeOps,
};

} // namespace

const ReflectedVariant& _GetReflected(const KSValue*)
{
    return s_variant;
}

const TypeOps* _GetTypeOps(const KSValue*)
{
    return s_variant.m_ops;
}

void _Register_KSValue()
{
    RegisterInModule(RegisterReflectedVariant, _GetReflected(static_cast<const KSValue*>(nullptr)),
                     "kelm::RegisterReflectedVariant(&_GetReflected( (KSValue*) 0),", s_sourceFile, __LINE__);
}

} // namespace kelm
