// Descriptors without C++ types. An instance begins with a word of ours, its class.

#include <kelmLanguage/DumpedTypes.h>

#include <kelmLanguage/Types.h>
#include <kelmLanguage/private/DumpedForeign.h>

#include <klKelmScript/ParseDataSource.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/GcObject.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/Registry.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/LexScannerException.h>
#include <klUtils/text/ExpressionParser.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace kelm::language
{

namespace
{

using namespace dumped;

// Why a catalogue cannot be registered.
struct Unregistrable
{
    std::string m_why;
};

// How many types have functions of their own.
constexpr std::size_t s_maxClasses = 400;
constexpr ssize_t s_maxSize = ssize_t{1} << 30;
constexpr std::size_t s_maxDepth = 400; // of types in types
constexpr ssize_t s_instanceHeader = 16;

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
    OneDefault() { ++s_creation.m_defaultsDepth, ++s_creation.m_numDefaults; }
    OneDefault(const OneDefault&) = delete;
    OneDefault& operator=(const OneDefault&) = delete;
    ~OneDefault() { --s_creation.m_defaultsDepth; }

    static bool IsAllowed()
    {
        return s_creation.m_defaultsDepth < s_maxDefaultsDepth && s_creation.m_numDefaults < s_maxDefaults;
    }
};

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
            parser.Init(SubString(member.m_text));
            ParseVariable(parser, member.m_type, instance + member.m_offset);
        }
        catch (const LexScannerException&) // a default that no text gives
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

ptr<IObject> CreateObject(const DumpedClass& dumped)
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
void ConstructInstances(const DumpedClass& dumped, void* dst, ssize_t stride, ssize_t count)
{
    for (ssize_t i = 0; i < count; ++i)
        ConstructInstance(dumped, static_cast<char*>(dst) + i * stride);
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

template <std::size_t I>
void FillClass(DumpedClass& dumped, bool isCreatable)
{
    dumped.m_ops.m_ConstructArrayFn = ClassOps<I>::Construct;
    if (isCreatable)
        dumped.m_class.m_createFn = ClassOps<I>::Create;
}

template <std::size_t... Is>
constexpr auto MakeFillForeign(std::index_sequence<Is...>)
{
    return std::array<void (*)(DumpedForeign&), sizeof...(Is)>{FillForeign<Is>...}; // more than can be deduced
}
template <std::size_t... Is>
constexpr auto MakeFillClass(std::index_sequence<Is...>)
{
    return std::array<void (*)(DumpedClass&, bool), sizeof...(Is)>{FillClass<Is>...};
}
constexpr auto s_fillForeign = MakeFillForeign(std::make_index_sequence<s_maxForeign>());
constexpr auto s_fillClass = MakeFillClass(std::make_index_sequence<s_maxClasses>());
std::size_t s_numClasses = 0;

// Each once: a number stands for a type.
std::deque<std::pair<TypeNode, DumpedForeign*>> s_knownForeign;

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
        case TypeKind::Duration: return Index(type, FT_FOREIGN, &s_foreignType<std::chrono::nanoseconds>.m_form);
        case TypeKind::Enum: return name(FT_ENUM);
        case TypeKind::Class: return name(FT_CLASS);
        case TypeKind::Variant: return name(FT_VARIANT);
        case TypeKind::Typedef: return name(FT_TYPEDEF);
        case TypeKind::Array:
            code(FT_ARRAY);
            for (int shift = 0; shift < 32; shift += 8)
                type.m_bytes.push_back(static_cast<uint8>(static_cast<uint64>(node.m_count) >> shift));
            return Append(type, node.m_parts[0]);
        case TypeKind::List: code(FT_VECTOR); return Append(type, node.m_parts[0]);
        case TypeKind::Set:
            if (!node.m_isStandard)
                type.m_fns.push_back({.setFns = &s_noSet});
            code(node.m_isStandard ? FT_VECTOR : FT_SET);
            return Append(type, node.m_parts[0]);
        case TypeKind::Tuple:
            return Foreign(type, node, FF_LIST, static_cast<ssize_t>(sizeof(void*) * node.m_parts.size()));
        case TypeKind::Map:
            if (node.m_isStandard)
                return Foreign(type, node, FF_MAP, sizeof(void*));
            type.m_fns.push_back({.mapFns = &ForeignOf(node, FF_MAP, sizeof(void*)).m_ownMap});
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

        // What the parts are made of has numbers by now.
        const std::size_t number = s_knownForeign.size();
        if (number == s_maxForeign)
            throw Unregistrable{"there are more than " + std::to_string(s_maxForeign) + " types of maps and optionals"};
        s_knownForeign.emplace_back(node, &foreign);
        s_foreign[number] = &foreign;
        s_fillForeign[number](foreign);
        if (node.m_kind == TypeKind::Choice)
        {
            foreign.m_choice.m_names = foreign.m_names.data();
            foreign.m_choice.Reset = nullptr;
        }
        foreign.m_type.m_form = form;
        foreign.m_type.m_size = size;
        foreign.m_type.m_parts = foreign.m_parts.data();
        foreign.m_type.m_numParts = static_cast<int32>(foreign.m_parts.size());
        foreign.m_type.m_list = form == FF_LIST ? &foreign.m_list : nullptr;
        foreign.m_type.m_map = form == FF_MAP ? &foreign.m_map : nullptr;
        foreign.m_type.m_choice = form == FF_CHOICE ? &foreign.m_choice : nullptr;
        foreign.m_type.m_name = KeepText(node.m_text + "#" + std::to_string(number));
        return foreign;
    }

    std::vector<ConstStringZ> m_names;
};

// Whether types can be made of a catalogue, however wrong that is, and how much memory their variables take.
class Measure
{
public:
    explicit Measure(const TypeCatalogue& catalogue) : m_types(catalogue) {}

    // Everything of the catalogue. Throws.
    void Check()
    {
        const TypeCatalogue& catalogue = m_types.GetCatalogue();
        for (const CatalogueEnum& entry : catalogue.m_enums)
            CheckName(entry);
        for (const CatalogueTypedef& entry : catalogue.m_typedefs)
        {
            CheckName(entry);
            CheckParts(entry.m_type);
        }
        for (const CatalogueVariant& entry : catalogue.m_variants)
        {
            CheckName(entry);
            if (entry.m_alternatives.empty())
                throw Unregistrable{"variant " + entry.m_name + " has no alternatives"};
            for (const CatalogueAlternative& alternative : entry.m_alternatives)
                CheckParts(alternative.m_type);
        }
        for (const CatalogueClass& entry : catalogue.m_classes)
        {
            CheckName(entry);
            for (const std::string& base : entry.m_bases)
                if (const CatalogueClass* const found = m_types.FindClass(base);
                    found != nullptr && m_types.IsDerived(*found, entry.m_name))
                    throw Unregistrable{"class " + entry.m_name + " is its own base"};
            for (const CatalogueMember& member : entry.m_members)
                CheckParts(member.m_type);
        }
        // All names mean something by now.
        for (const CatalogueTypedef& entry : catalogue.m_typedefs)
            RoomOf(entry);
        for (const CatalogueVariant& entry : catalogue.m_variants)
            RoomOf(entry);
        for (const CatalogueClass& entry : catalogue.m_classes)
            RoomOf(entry);
    }

    static ssize_t Aligned(ssize_t size) { return (size + 15) / 16 * 16; }

    // Of a variable, at the most.
    ssize_t SizeOf(const TypeNode& node) { return RoomOf(node).m_size; }
    ssize_t SizeOf(const CatalogueVariant& entry) { return RoomOf(entry).m_size; }

private:
    struct Room
    {
        ssize_t m_size;
        ssize_t m_whole; // with what a new one has elsewhere
    };

    void CheckName(const CatalogueEntry& entry)
    {
        if (entry.m_name.find('\0') != std::string::npos || !m_rooms.try_emplace(entry.m_name).second)
            throw Unregistrable{"'" + entry.m_name + "' cannot be the name of a type"};
    }

    // Of lists and the like too, which take no room themselves.
    void CheckParts(const TypeNode& node) const
    {
        const ConstStringZ name = node.m_name.c_str();
        bool isThere = true;
        switch (node.m_kind)
        {
        case TypeKind::Class: isThere = m_types.FindClass(node.m_name) || TryFindReflectedClass(name); break;
        case TypeKind::Enum: isThere = m_types.FindEnum(node.m_name) || TryFindReflectedEnum(name); break;
        case TypeKind::Variant: isThere = m_types.FindVariant(node.m_name) || TryFindReflectedVariant(name); break;
        case TypeKind::Typedef: isThere = m_types.FindTypedef(node.m_name) || TryFindReflectedTypedef(name); break;
        default: break;
        }
        if (!isThere)
            throw Unregistrable{"there is no type '" + node.m_name + "'"};
        for (const TypeNode& part : node.m_parts)
            CheckParts(part);
    }

    static Room Checked(Room room)
    {
        if (room.m_whole > s_maxSize)
            throw Unregistrable{"a type is too large"};
        return room;
    }

    // Each named type is measured once. While it is, it must not be met again.
    template <class F>
    Room Once(const std::string& name, F measure)
    {
        std::optional<Room>& known = m_rooms[name];
        if (known)
            return *known;
        if (std::find(m_measured.begin(), m_measured.end(), name) != m_measured.end())
            throw Unregistrable{"'" + name + "' is a part of itself"};
        if (m_measured.size() == s_maxDepth)
            throw Unregistrable{"types are nested too deep"};
        m_measured.push_back(name);
        const Room room = Checked(measure());
        m_measured.pop_back();
        return *(known = room);
    }

    Room RoomOf(const CatalogueTypedef& entry)
    {
        return Once(entry.m_name, [&] { return RoomOf(entry.m_type); });
    }

    Room RoomOf(const CatalogueClass& entry)
    {
        return Once(entry.m_name,
                    [&]
                    {
                        Room room = {s_instanceHeader, s_instanceHeader};
                        for (const CatalogueMember& member : entry.m_members)
                        {
                            const Room part = RoomOf(member.m_type);
                            room = Checked({room.m_size + Aligned(part.m_size), room.m_whole + Aligned(part.m_whole)});
                        }
                        return room;
                    });
    }

    Room RoomOf(const CatalogueVariant& entry)
    {
        return Once(entry.m_name,
                    [&]
                    {
                        Room room = {0, 0};
                        for (const CatalogueAlternative& alternative : entry.m_alternatives)
                        {
                            const Room part = RoomOf(alternative.m_type);
                            room = {std::max(room.m_size, part.m_size), std::max(room.m_whole, part.m_whole)};
                        }
                        return Room{s_instanceHeader + Aligned(room.m_size), s_instanceHeader + Aligned(room.m_whole)};
                    });
    }

    Room RoomOf(const TypeNode& node)
    {
        constexpr Room most = {32, 32}; // of all that is not told here
        switch (node.m_kind)
        {
        case TypeKind::Array:
        {
            const Room part = RoomOf(node.m_parts[0]);
            if (part.m_whole > 0 && node.m_count > s_maxSize / part.m_whole)
                return Checked({0, s_maxSize + 1});
            return {part.m_size * node.m_count, part.m_whole * node.m_count};
        }
        case TypeKind::Tuple:
        {
            Room room = {static_cast<ssize_t>(sizeof(void*) * node.m_parts.size()), 0};
            room.m_whole = room.m_size;
            for (const TypeNode& part : node.m_parts)
                room = Checked({room.m_size, room.m_whole + RoomOf(part).m_whole});
            return room;
        }
        case TypeKind::Choice: // holds its first alternative
            return Checked({most.m_size, most.m_whole + (node.m_parts.empty() ? 0 : RoomOf(node.m_parts[0]).m_whole)});
        case TypeKind::Class:
            if (const ReflectedClass* const known = TryFindReflectedClass(node.m_name.c_str()))
                return {known->m_size, known->m_size};
            return RoomOf(*m_types.FindClass(node.m_name));
        case TypeKind::Variant:
            if (const ReflectedVariant* const known = TryFindReflectedVariant(node.m_name.c_str()))
                return {known->m_size, known->m_size};
            return RoomOf(*m_types.FindVariant(node.m_name));
        case TypeKind::Typedef:
            if (const CatalogueTypedef* const entry = m_types.FindTypedef(node.m_name))
                return RoomOf(*entry);
            return most;
        default: return most;
        }
    }

    Types m_types;
    std::map<std::string, std::optional<Room>> m_rooms; // of named types, once they are known
    std::vector<std::string> m_measured;                // those that are being measured
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

    // --- Registration

    void Register(const CatalogueEnum& entry)
    {
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
            fields.push_back(
                {KeepText(alternative.m_name), s_instanceHeader, emitter.Emit(alternative.m_type).m_bytes.data()});
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
        ssize_t offset = s_instanceHeader;
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
                    {{type.m_bytes.data(), nullptr, type.m_fns.data()}, offset, KeepText(*member.m_default)});
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
        s_fillClass[number](dumped, entry.m_isCreatable);
        Require(RegisterReflectedClass(&rc, nullptr), entry.m_name);
    }

    const TypeCatalogue& m_catalogue;
    Measure m_measure;
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
