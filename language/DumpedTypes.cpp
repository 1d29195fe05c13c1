// Descriptors without C++ types. An instance begins with a word of ours, its class.

#include <kelmLanguage/DumpedTypes.h>

#include <kelmLanguage/private/DumpedForeign.h>
#include <kelmLanguage/private/Measure.h>

#include <klKelmScript/ParseDataSource.h>
#include <klObject/objects/GcObject.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/Registry.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/LexScannerException.h>
#include <klUtils/text/ExpressionParser.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace kelm::language
{

namespace
{

using namespace dumped;

// How many types have functions of their own.
constexpr std::size_t s_maxClasses = 2000;

// --- Classes

struct DumpedClass
{
    ReflectedClass m_class{};
    TypeOps m_ops{};
    std::vector<ReflectedModelField> m_modelFields;
    std::vector<ReflectedField> m_fields;
    std::vector<FieldRule> m_rules;
    std::vector<ReflectedBase> m_bases;
    std::vector<ConstStringZ> m_interfaces;
    struct Default
    {
        ReflectionByteCode m_type;
        ssize_t m_offset;
        ConstStringZ m_text;
        ConstStringZ m_member;
    };
    std::vector<Default> m_defaults;
};
const DumpedClass* s_classes[s_maxClasses];

void ForEachField(const DumpedClass& dumped, void (*apply)(ReflectionByteCode, void*), char* instance)
{
    for (const ReflectedModelField& field : dumped.m_modelFields)
        apply({field.m_bc, dumped.m_class.m_stringTable, field.m_mapOrSetFns}, instance + field.m_offset);
    for (const ReflectedField& field : dumped.m_fields)
        apply({field.m_bc, dumped.m_class.m_stringTable}, instance + field.m_offset);
}

// Defaults may say of each other that they are made, without an end, which no program's do. What is deeper than this,
// or more in one creation, is left as it is without.
constexpr int s_maxDefaultsDepth = 64;
constexpr int s_maxDefaults = 2'000;

// What is being created on a thread, one in the other.
struct Creation
{
    int m_numInstances = 0;
    int m_defaultsDepth = 0;
    int m_numDefaults = 0;
};
thread_local Creation s_creation;

class OneInstance
{
public:
    OneInstance()
    {
        if (s_creation.m_numInstances++ == 0)
            s_creation.m_numDefaults = 0;
    }
    OneInstance(const OneInstance&) = delete;
    OneInstance& operator=(const OneInstance&) = delete;
    ~OneInstance() { --s_creation.m_numInstances; }
};

class OneDefault
{
public:
    OneDefault()
    {
        ++s_creation.m_defaultsDepth;
        ++s_creation.m_numDefaults;
    }
    OneDefault(const OneDefault&) = delete;
    OneDefault& operator=(const OneDefault&) = delete;
    ~OneDefault() { --s_creation.m_defaultsDepth; }

    static bool IsAllowed()
    {
        return s_creation.m_defaultsDepth < s_maxDefaultsDepth && s_creation.m_numDefaults < s_maxDefaults;
    }
};

void ReadDefault(ExpressionParser& parser, const DumpedClass::Default& member, void* variable)
{
    parser.Init(SubString(member.m_text));
    ParseVariable(parser, member.m_type, variable);
}

void ConstructInstance(const DumpedClass& dumped, char* instance)
{
    const OneInstance one;
    std::memset(instance, 0, static_cast<std::size_t>(dumped.m_class.m_size));
    const DumpedClass* const self = &dumped;
    std::memcpy(instance, &self, sizeof self);
    ForEachField(dumped, ConstructReflectedVariable, instance);
    for (const DumpedClass::Default& member : dumped.m_defaults)
        try
        {
            if (!OneDefault::IsAllowed())
                break;
            const OneDefault inner;
            ExpressionParser parser;
            ReadDefault(parser, member, instance + member.m_offset);
        }
        // They could be read when they were registered. What a module creates for one need not be the same each time.
        catch (const LexScannerException&)
        {
        }
        catch (const KelmAssertionError&)
        {
        }
}

const ReflectedClass* ClassOf(const void* self)
{
    return &As<const DumpedClass*>(self)->m_class;
}
void DestructInstance(void* self)
{
    ForEachField(*As<const DumpedClass*>(self), DestructReflectedVariable, static_cast<char*>(self));
}

extern const IPersistableFns s_objectFns;
InterfaceHandle QueryInterface(void* self, const ReflectedInterface& wanted)
{
    return QueryGcObjectInterface(self, s_objectFns, *ClassOf(self), wanted);
}
void VisitObjects(const void* self, IObjectVisitor& visitor)
{
    VisitObjectsInClassInstance(*ClassOf(self), self, visitor);
}
void Destroy(void* self)
{
    DeleteGcObject(self, alignof(std::max_align_t), DestructInstance);
}
const IPersistableFns s_objectFns = {
    {QueryInterface, QueryInterface, ClassOf, VisitObjects, [](void*) {}, Destroy, GetGcObjectState},
    GetGcObjectId,
    SetGcObjectId};

// Not within each of the numbered functions, of which there are thousands.
[[gnu::noinline]] ptr<IObject> CreateObject(const DumpedClass& dumped)
{
    constexpr auto nothing = [](void*) {};
    const ptr<IObject> object =
        NewGcObject(static_cast<std::size_t>(dumped.m_class.m_size), alignof(std::max_align_t), nothing, s_objectFns);
    try
    {
        ConstructInstance(dumped, static_cast<char*>(object.self()));
        return object;
    }
    catch (...)
    {
        DeleteGcObject(object.self(), alignof(std::max_align_t), nothing);
        throw;
    }
}
[[gnu::noinline]] void ConstructInstances(const DumpedClass& dumped, void* dst, ssize_t stride, ssize_t count)
{
    for (ssize_t i = 0; i < count; ++i)
        ConstructInstance(dumped, static_cast<char*>(dst) + i * stride);
}

void DestructInstances(void* first, ssize_t stride, ssize_t count)
{
    for (ssize_t i = 0; i < count; ++i)
        DestructInstance(static_cast<char*>(first) + i * stride);
}

template <std::size_t I>
struct ClassOps
{
    static ptr<IObject> Create() { return CreateObject(*s_classes[I]); }
    static void Construct(void* dst, ssize_t stride, ssize_t count)
    {
        ConstructInstances(*s_classes[I], dst, stride, count);
    }
};
struct NumberedClassFns
{
    ptr<IObject> (*Create)();
    void (*Construct)(void*, ssize_t, ssize_t);
};
template <std::size_t... Is>
constexpr auto MakeClassFns(std::index_sequence<Is...>)
{
    // More than can be deduced.
    return std::array<NumberedClassFns, sizeof...(Is)>{
        NumberedClassFns{ClassOps<Is>::Create, ClassOps<Is>::Construct}...};
}
constexpr auto s_classFns = MakeClassFns(std::make_index_sequence<s_maxClasses>());
std::size_t s_numClasses = 0;

std::size_t s_numForeign = 0;

// Each once: a number stands for a type.
std::deque<std::pair<TypeNode, DumpedForeign*>> s_knownForeign;

// Enumerations of other widths than 32 bits, which are in no registry.
std::map<std::string, const DumpedForeign*, std::less<>> s_foreignEnums;

// A string of the standard library's: one of ours, which may be moved as bytes.
constexpr ForeignTextFns s_textFns = {
    [](const void* text, char*) -> SubString { return As<xstring>(text); },
    [](void* text, SubString characters)
    {
        As<xstring>(text) = xstring(characters);
        return true;
    },
    [](const void* a, const void* b) { return strcmp(As<xstring>(a), As<xstring>(b)); }, "string"};
constexpr ForeignType s_text = {.m_form = FF_TEXT,
                                .m_size = sizeof(xstring),
                                .Construct = [](void* text) { ::new (text) xstring(); },
                                .Destruct = [](void* text) { static_cast<xstring*>(text)->~xstring(); },
                                .Exchange = nullptr,
                                .m_parts = nullptr,
                                .m_numParts = 0,
                                .m_text = &s_textFns,
                                .m_list = nullptr,
                                .m_map = nullptr,
                                .m_choice = nullptr,
                                .m_name = "string of a catalogue"};

// Sets of ours have no texts, and stay empty.
constexpr SetFns s_noSet = {[](void*, const void*) { return false; }, [](void* set) { As<void*>(set) = nullptr; },
                            [](void*) {}, [](const void*) -> ssize_t { return 0; },
                            [](const void*, EntryVisitor, void*) {}};

// --- What is registered, which stays

template <class T>
T& Keep(T value)
{
    static auto& s_kept = *new std::deque<T>(); // destroyed by nothing that runs at the end
    return s_kept.emplace_back(std::move(value));
}
ConstStringZ KeepText(std::string text)
{
    return Keep(std::move(text)).c_str();
}

struct NamedCode
{
    std::string_view m_name;
    ETypeByteCode m_code;
};
constexpr NamedCode s_scalars[] = {
    {"int8", FT_INT8},     {"int16", FT_INT16},     {"int32", FT_INT32},     {"int64", FT_INT64},
    {"int128", FT_INT128}, {"uint8", FT_UINT8},     {"uint16", FT_UINT16},   {"uint32", FT_UINT32},
    {"uint64", FT_UINT64}, {"uint128", FT_UINT128}, {"float32", FT_FLOAT32}, {"float64", FT_FLOAT64},
    {"char8", FT_CHAR8},   {"char16", FT_CHAR16},
};

// What is of the same form and has no parts of other types, is the same for all of them.
bool IsCopiedAsBytes(const TypeNode& node)
{
    constexpr TypeKind kinds[] = {TypeKind::Bool, TypeKind::Integer, TypeKind::Float, TypeKind::Character,
                                  TypeKind::Enum};
    return std::find(std::begin(kinds), std::end(kinds), node.m_kind) != std::end(kinds) && !node.m_isStandard;
}

// Of a type whose form, size, parts and names are known: the rest, and a number.
void FillForeign(DumpedForeign& foreign, const TypeNode& node)
{
    if (s_numForeign == s_maxForeign)
        throw Unregistrable{"there are more than " + std::to_string(s_maxForeign) +
                            " types of the standard library's and of maps"};
    const std::size_t number = s_numForeign++;
    s_foreign[number] = &foreign;
    ForeignType& type = foreign.m_type;
    type.Construct = s_numberedFns[number].Construct;
    type.Exchange = ExchangeValues;
    type.m_parts = foreign.m_parts.data();
    type.m_numParts = static_cast<int32>(foreign.m_parts.size());
    type.m_name = KeepText(node.m_text + "#" + std::to_string(number));
    switch (type.GetForm())
    {
    case FF_TEXT:
        foreign.m_text = node.m_kind == TypeKind::Enum ? s_enumFns : s_durationFns;
        if (node.m_kind == TypeKind::Enum)
        {
            foreign.m_text.m_what = KeepText(node.m_name);
            foreign.m_text.m_names = foreign.m_names.data();
            foreign.m_text.m_numNames = static_cast<ssize_t>(foreign.m_names.size());
        }
        else
        {
            foreign.m_text.IsBeyondRange = s_numberedFns[number].IsBeyondRange;
            if (foreign.m_tick == 0)
                foreign.m_text.Compare = CompareNumbers<&NumberValue::m_fraction>;
        }
        type.m_text = &foreign.m_text;
        type.Destruct = DestructText;
        break;
    case FF_LIST:
        foreign.m_list = node.m_kind == TypeKind::Tuple ? s_tupleFns : s_listFns;
        if (node.m_kind == TypeKind::List && IsCopiedAsBytes(node.m_parts[0]))
            foreign.m_list.AppendCopies = AppendBytes;
        type.m_list = &foreign.m_list;
        type.Destruct = node.m_kind == TypeKind::Tuple ? DestructTuple : DestructList;
        break;
    case FF_MAP:
        foreign.m_map = s_mapFns;
        foreign.m_ownMap = {InsertIntoOurs, type.Construct, DestructMap, CountEntries,
                            ForEachEntry,   FindEntry,      EraseEntry};
        type.m_map = &foreign.m_map;
        type.Exchange = ExchangeMaps;
        type.Destruct = DestructMap;
        break;
    case FF_CHOICE:
        foreign.m_choice = s_choiceFns;
        foreign.m_choice.m_isPointer = node.m_isPointer;
        foreign.m_choice.IsShared = node.m_isShared ? IsNeverShared : nullptr;
        if (node.m_kind == TypeKind::Choice)
        {
            foreign.m_choice.m_names = foreign.m_names.data();
            foreign.m_choice.Reset = nullptr;
        }
        type.m_choice = &foreign.m_choice;
        type.Destruct = ResetChoice;
        break;
    }
}

// The byte code of types that share a string table.
class Emitter
{
public:
    struct Type
    {
        std::vector<uint8> m_bytes;
        std::vector<PtrMapOrSetFns> m_fns;
    };

    Type& Emit(const TypeNode& node)
    {
        Type& type = Keep(Type{});
        Append(type, node);
        return type;
    }

    // When all is emitted.
    const ConstStringZ* GetNames()
    {
        m_names.push_back(nullptr);
        return m_names.data();
    }

private:
    void Index(Type& type, ETypeByteCode code, ConstStringZ entry)
    {
        if (m_names.size() > 65000)
            throw Unregistrable{"a class names too many types"};
        type.m_bytes.push_back(code);
        type.m_bytes.push_back(static_cast<uint8>(m_names.size()));
        type.m_bytes.push_back(static_cast<uint8>(m_names.size() >> 8));
        m_names.push_back(entry);
    }

    void Append(Type& type, const TypeNode& node)
    {
        const auto code = [&](ETypeByteCode c) { type.m_bytes.push_back(c); };
        const auto name = [&](ETypeByteCode c) { Index(type, c, KeepText(node.m_name)); };
        if (node.m_isConst)
            code(FT_CONST);
        switch (node.m_kind)
        {
        case TypeKind::Void:
        case TypeKind::Other: return code(FT_VOID);
        case TypeKind::Bool: return code(FT_BOOL);
        case TypeKind::Integer:
        case TypeKind::Float:
        case TypeKind::Character: return code(ScalarOf(node.m_name));
        case TypeKind::Text:
            if (node.m_isStandard)
                return Index(type, FT_FOREIGN, &s_text.m_form);
            return code(node.m_name == "string16" ? FT_STRING16 : FT_STRING8);
        case TypeKind::Duration: return Foreign(type, node, FF_TEXT, sizeof(NumberValue));
        case TypeKind::Enum:
            if (node.m_isStandard)
                return Index(type, FT_FOREIGN, &s_foreignEnums.find(node.m_name)->second->m_type.m_form);
            return name(FT_ENUM);
        case TypeKind::Class: return name(FT_CLASS);
        case TypeKind::Variant: return name(FT_VARIANT);
        case TypeKind::Typedef: return name(FT_TYPEDEF);
        case TypeKind::Array:
            code(FT_ARRAY);
            for (int shift = 0; shift < 32; shift += 8)
                type.m_bytes.push_back(static_cast<uint8>(static_cast<uint64>(node.m_count) >> shift));
            return Append(type, node.m_parts[0]);
        case TypeKind::List:
            if (node.m_isStandard)
                return Foreign(type, node, FF_LIST, sizeof(ListValue));
            code(node.m_isDynamic ? FT_DYNARRAY : FT_VECTOR);
            return Append(type, node.m_parts[0]);
        case TypeKind::Set:
            if (node.m_isStandard)
                return Foreign(type, node, FF_MAP, sizeof(Entries*));
            type.m_fns.push_back({.setFns = &s_noSet});
            code(FT_SET);
            return Append(type, node.m_parts[0]);
        case TypeKind::Tuple: return Foreign(type, node, FF_LIST, SizeOfTuple(node.m_parts.size()));
        case TypeKind::Map:
            if (node.m_isStandard)
                return Foreign(type, node, FF_MAP, sizeof(Entries*));
            type.m_fns.push_back({.mapFns = &ForeignOf(node, FF_MAP, sizeof(Entries*)).m_ownMap});
            code(FT_MAP);
            Append(type, node.m_parts[0]);
            return Append(type, node.m_parts[1]);
        case TypeKind::Optional:
        case TypeKind::Choice: return Foreign(type, node, FF_CHOICE, sizeof(ChoiceValue));
        case TypeKind::Handle: code(FT_INTERFACE_POINTER); return Index(type, FT_INTERFACE, "kelm::IObject");
        case TypeKind::Reference:
            if (node.m_name.empty()) // to what, is not told
                return code(FT_VOID);
            code(FT_PREF);
            return name(FT_CLASS);
        }
    }

    static ETypeByteCode ScalarOf(const std::string& name)
    {
        const auto* const row = std::find_if(std::begin(s_scalars), std::end(s_scalars),
                                             [&](const NamedCode& r) { return r.m_name == name; });
        if (row == std::end(s_scalars))
            throw Unregistrable{"no number is called " + name};
        return row->m_code;
    }

    void Foreign(Type& type, const TypeNode& node, EForeignForm form, ssize_t size)
    {
        Index(type, FT_FOREIGN, &ForeignOf(node, form, size).m_type.m_form);
    }

    static const DumpedForeign& ForeignOf(const TypeNode& node, EForeignForm form, ssize_t size)
    {
        for (const auto& [known, foreign] : s_knownForeign)
            if (known == node)
                return *foreign;
        auto& foreign = Keep(DumpedForeign{});
        Emitter& parts = Keep(Emitter());
        std::vector<Type*> types;
        for (const TypeNode& part : node.m_parts)
            types.push_back(&parts.Emit(part));
        const ConstStringZ* const names = parts.GetNames();
        for (const Type* part : types)
            foreign.m_parts.push_back({part->m_bytes.data(), names, part->m_fns.data()});
        for (const std::string& name : node.m_names)
            foreign.m_names.push_back(KeepText(name));
        foreign.m_tick = node.m_count;
        for (const DurationNumber& number : s_durationNumbers)
            if (number.m_name == node.m_number)
                foreign.m_number = number;
        foreign.m_isSingle = node.m_number == s_durationFloat;

        // What the parts are made of has numbers by now.
        foreign.m_type.m_form = form;
        foreign.m_type.m_size = size;
        FillForeign(foreign, node);
        s_knownForeign.emplace_back(node, &foreign);
        return foreign;
    }

    std::vector<ConstStringZ> m_names;
};

class Registrar
{
public:
    explicit Registrar(const TypeCatalogue& catalogue) : m_catalogue(catalogue), m_measure(catalogue) {}

    void Register()
    {
        m_measure.Check();
        for (const CatalogueEnum& entry : m_catalogue.m_enums)
            Register(entry);
        for (const CatalogueTypedef& entry : m_catalogue.m_typedefs)
            Register(entry);
        for (const CatalogueVariant& entry : m_catalogue.m_variants)
            Register(entry);
        for (const CatalogueClass& entry : m_catalogue.m_classes)
            Register(entry);
        for (const DumpedClass* const made : m_made)
            for (const DumpedClass::Default& member : made->m_defaults)
                CheckDefault(*made, member);
    }

private:
    static bool IsRegistered(const std::string& text)
    {
        const ConstStringZ name = text.c_str();
        return TryFindReflectedClass(name) != nullptr || TryFindReflectedVariant(name) != nullptr ||
               TryFindReflectedEnum(name) != nullptr || TryFindReflectedTypedef(name) != nullptr ||
               TryFindReflectedInterface(name) != nullptr;
    }

    static void Require(ENameSpaceError error, const std::string& name)
    {
        if (error != NSE_OK)
            throw Unregistrable{"'" + name + "' cannot be the name of a type"};
    }

    // Each is read once, when all that it may name is there.
    static void CheckDefault(const DumpedClass& dumped, const DumpedClass::Default& member)
    {
        std::string why;
        void* const variable = NewVariable(member.m_type);
        try
        {
            ExpressionParser parser;
            ReadDefault(parser, member, variable);
            if (parser.GetTokenType() != TOKEN_END)
                why = "Unexpected text behind it";
        }
        catch (const LexScannerException& e)
        {
            why = e.what();
        }
        catch (const KelmAssertionError& e)
        {
            why = e.what();
        }
        DeleteVariable(member.m_type, variable);
        if (!why.empty())
            throw Unregistrable{"the default of member '" + std::string(member.m_member) + "' of class " +
                                dumped.m_class.m_name + " cannot be read: " + why};
    }

    // --- Registration

    static void RegisterForeign(const CatalogueEnum& entry)
    {
        const auto [place, isNew] = s_foreignEnums.try_emplace(entry.m_name);
        if (!isNew)
            return;
        DumpedForeign& foreign = Keep(DumpedForeign{});
        place->second = &foreign;
        foreign.m_type.m_form = FF_TEXT;
        foreign.m_type.m_size = sizeof(NumberValue);
        for (const CatalogueEnumerator& enumerator : entry.m_enumerators)
        {
            foreign.m_names.push_back(KeepText(enumerator.m_name));
            foreign.m_values.push_back(enumerator.m_value);
        }
        FillForeign(foreign, {TypeKind::Enum, entry.m_name, entry.m_name});
    }

    void Register(const CatalogueEnum& entry)
    {
        if (entry.m_isStandard)
            return RegisterForeign(entry);
        if (IsRegistered(entry.m_name))
            return;
        auto& names = Keep(std::vector<ConstStringZ>());
        auto& values = Keep(std::vector<int32>());
        for (const CatalogueEnumerator& enumerator : entry.m_enumerators)
        {
            names.push_back(KeepText(enumerator.m_name));
            values.push_back(static_cast<int32>(enumerator.m_value));
        }
        auto& re = Keep(ReflectedEnum{.m_name = KeepText(entry.m_name),
                                      .m_count = static_cast<int32>(names.size()),
                                      .m_strings = names.data(),
                                      .m_values = values.data()});
        Require(RegisterReflectedEnum(&re, nullptr), entry.m_name);
    }

    void Register(const CatalogueTypedef& entry)
    {
        if (IsRegistered(entry.m_name))
            return;
        Emitter& emitter = Keep(Emitter());
        const Emitter::Type& type = emitter.Emit(entry.m_type);
        auto& rt = Keep(ReflectedTypedef{KeepText(entry.m_name), type.m_bytes.data(), emitter.GetNames()});
        Require(RegisterReflectedTypedef(&rt, nullptr), entry.m_name);
    }

    void Register(const CatalogueVariant& entry)
    {
        if (IsRegistered(entry.m_name))
            return;
        Emitter& emitter = Keep(Emitter());
        auto& fields = Keep(std::vector<ReflectedField>());
        for (const CatalogueAlternative& alternative : entry.m_alternatives)
            fields.push_back({KeepText(alternative.m_name), Measure::InstanceHeader,
                              emitter.Emit(alternative.m_type).m_bytes.data()});
        auto& rv = Keep(ReflectedVariant{.m_name = KeepText(entry.m_name),
                                         .m_size = m_measure.SizeOf(entry),
                                         .m_fields = fields.data(),
                                         .m_numFields = static_cast<ssize_t>(fields.size()),
                                         .m_stringTable = emitter.GetNames()});
        Require(RegisterReflectedVariant(&rv, nullptr), entry.m_name);
    }

    void Register(const CatalogueClass& entry)
    {
        if (IsRegistered(entry.m_name))
            return;
        if (s_numClasses == s_maxClasses)
            throw Unregistrable{"there are more than " + std::to_string(s_maxClasses) + " classes"};
        DumpedClass& dumped = Keep(DumpedClass{});
        Emitter& emitter = Keep(Emitter());
        ssize_t offset = Measure::InstanceHeader;
        for (const CatalogueMember& member : entry.m_members)
        {
            const Emitter::Type& type = emitter.Emit(member.m_type);
            const ConstStringZ name = KeepText(member.m_name);
            if (member.m_isOfModel)
            {
                dumped.m_modelFields.push_back({name, offset, type.m_bytes.data(), 0, -1, type.m_fns.data()});
                dumped.m_rules.push_back({.m_isRequired = member.m_isRequired});
            }
            else
                dumped.m_fields.push_back({name, offset, type.m_bytes.data()});
            if (member.m_default)
                dumped.m_defaults.push_back(
                    {{type.m_bytes.data(), nullptr, type.m_fns.data()}, offset, KeepText(*member.m_default), name});
            offset += Measure::Aligned(m_measure.SizeOf(member.m_type));
        }
        for (const std::string& base : entry.m_bases)
            dumped.m_bases.push_back({KeepText(base), [](void* derived) { return derived; }});
        for (const std::string& interface : entry.m_interfaces)
            dumped.m_interfaces.push_back(KeepText(interface));

        ReflectedClass& rc = dumped.m_class;
        rc.m_name = KeepText(entry.m_name);
        rc.m_size = offset;
        rc.m_stringTable = emitter.GetNames();
        for (DumpedClass::Default& member : dumped.m_defaults)
            member.m_type.m_stringTable = rc.m_stringTable;
        rc.m_fields = dumped.m_fields.data();
        rc.m_numFields = static_cast<ssize_t>(dumped.m_fields.size());
        rc.m_modelFields = dumped.m_modelFields.empty() ? nullptr : dumped.m_modelFields.data();
        rc.m_numModelFields = static_cast<ssize_t>(dumped.m_modelFields.size());
        rc.m_interfaces = dumped.m_interfaces.data();
        rc.m_numInterfaces = static_cast<ssize_t>(dumped.m_interfaces.size());
        rc.m_objectFns = &s_objectFns;
        rc.m_ops = &dumped.m_ops;
        rc.m_rules = dumped.m_rules.data();
        rc.m_bases = dumped.m_bases.data();
        rc.m_numBases = static_cast<ssize_t>(dumped.m_bases.size());
        dumped.m_ops.m_size = offset;
        const std::size_t number = s_numClasses++;
        s_classes[number] = &dumped;
        dumped.m_ops.m_ConstructArrayFn = s_classFns[number].Construct;
        dumped.m_ops.m_DestructArrayFn = DestructInstances;
        if (entry.m_isCreatable)
            rc.m_createFn = s_classFns[number].Create;
        Require(RegisterReflectedClass(&rc, nullptr), entry.m_name);
        m_made.push_back(&dumped);
    }

    const TypeCatalogue& m_catalogue;
    Measure m_measure;
    std::vector<const DumpedClass*> m_made;
};

} // namespace

std::string RegisterDumpedTypes(const TypeCatalogue& catalogue)
{
    try
    {
        Registrar(catalogue).Register();
        return {};
    }
    catch (const Unregistrable& e)
    {
        return e.m_why;
    }
    catch (const KelmAssertionError& e)
    {
        return e.what();
    }
}

} // namespace kelm::language
