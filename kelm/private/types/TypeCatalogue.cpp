#include <kelm/private/types/TypeCatalogue.h>

#include <kelm/private/types/TypeText.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/Registry.h>
#include <klObject/values/DurationText.h>
#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/WriteVariable.h>
#include <klPersistStore/Target.h>
#include <klUtils/KelmAssertionError.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>
#include <map>
#include <memory>

namespace kelm
{

namespace
{

std::string TextOrNone(ConstStringZ text)
{
    return text != nullptr ? text : std::string();
}

// --- Types

struct PlainKind
{
    ETypeByteCode m_code;
    TypeKind m_kind;
    ConstStringZ m_name;
};

constexpr PlainKind s_plainKinds[] = {
    {FT_VOID, TypeKind::Void, ""},
    {FT_BOOL, TypeKind::Bool, ""},
    {FT_INT8, TypeKind::Integer, "int8"},
    {FT_INT16, TypeKind::Integer, "int16"},
    {FT_INT32, TypeKind::Integer, "int32"},
    {FT_INT64, TypeKind::Integer, "int64"},
    {FT_INT128, TypeKind::Integer, "int128"},
    {FT_UINT8, TypeKind::Integer, "uint8"},
    {FT_UINT16, TypeKind::Integer, "uint16"},
    {FT_UINT32, TypeKind::Integer, "uint32"},
    {FT_UINT64, TypeKind::Integer, "uint64"},
    {FT_UINT128, TypeKind::Integer, "uint128"},
    {FT_FLOAT32, TypeKind::Float, "float32"},
    {FT_FLOAT64, TypeKind::Float, "float64"},
    {FT_CHAR8, TypeKind::Character, "char8"},
    {FT_CHAR16, TypeKind::Character, "char16"},
    {FT_STRING8, TypeKind::Text, "string8"},
    {FT_STRING16, TypeKind::Text, "string16"},
};

// The kinds whose one part, or whose name, stands behind the code.
struct WrappingKind
{
    ETypeByteCode m_code;
    TypeKind m_kind;
};
constexpr WrappingKind s_namedKinds[] = {
    {FT_CLASS, TypeKind::Class},
    {FT_ENUM, TypeKind::Enum},
    {FT_VARIANT, TypeKind::Variant},
    {FT_TYPEDEF, TypeKind::Typedef},
};
constexpr WrappingKind s_handleKinds[] = {
    {FT_INTERFACE_POINTER, TypeKind::Handle},
    {FT_PREF, TypeKind::Reference},
    {FT_CREF, TypeKind::Reference},
};
constexpr WrappingKind s_listKinds[] = {
    {FT_VECTOR, TypeKind::List},
    {FT_DYNARRAY, TypeKind::List},
    {FT_SET, TypeKind::Set},
    {FT_ARRAY, TypeKind::Array},
};

template <class Row, std::size_t N>
const Row* Find(const Row (&rows)[N], ETypeByteCode code)
{
    const Row* const row = std::find_if(rows, rows + N, [code](const Row& r) { return r.m_code == code; });
    return row != rows + N ? row : nullptr;
}

// The value of an enumerator of which the name alone is known.
int64 ValueOf(const ForeignType& type, ConstStringZ name)
{
    const auto memory = std::make_unique<char[]>(static_cast<std::size_t>(type.m_size));
    type.Construct(memory.get());
    type.m_text->Set(memory.get(), name);
    const int64 value = type.m_text->GetNumber(memory.get());
    type.Destruct(memory.get());
    return value;
}

// A duration, of which the texts that it takes tell what it is.
class ProbedDuration
{
public:
    explicit ProbedDuration(const ForeignType& type)
        : m_type(type), m_memory(std::make_unique<char[]>(static_cast<std::size_t>(type.m_size)))
    {
        m_type.Construct(m_memory.get());
        FindTick();
    }
    ProbedDuration(const ProbedDuration&) = delete;
    ProbedDuration& operator=(const ProbedDuration&) = delete;
    ~ProbedDuration() { m_type.Destruct(m_memory.get()); }

    // How long one is, in nanoseconds; 0 where it has fractions.
    int64 GetTick() const { return m_tick; }

    // As TypeNode has it.
    std::string_view GetNumber()
    {
        if (m_tick == 0) // a difference that only the longer ones keep
            return Retold("1s") == Retold("1.000000001s") ? s_durationFloat : std::string_view();
        constexpr int64 most = std::numeric_limits<int64>::max();
        for (const DurationNumber& number : s_durationNumbers)
            if (TakesTicks(number.m_most) && !TakesTicks(number.m_most == most ? -1 : number.m_most + 1))
                return number.m_name;
        return {};
    }

private:
    bool Takes(const std::string& text)
    {
        return m_type.m_text->Set(m_memory.get(), {text.data(), text.data() + text.size()});
    }
    bool TakesNanoseconds(int64 count) { return Takes(std::to_string(count) + "ns"); }
    bool TakesTicks(int64 count)
    {
        char buffer[s_maxDurationText];
        const SubString text = PutDuration(buffer, count, m_tick);
        return Takes({text.m_p1, text.m_p2});
    }
    std::string Retold(const std::string& text)
    {
        char buffer[s_maxDurationText];
        Takes(text);
        const SubString retold = m_type.m_text->Get(m_memory.get(), buffer);
        return {retold.m_p1, retold.m_p2};
    }

    void FindTick()
    {
        constexpr int64 second = 1'000'000'000;
        constexpr int64 units[] = {1,
                                   1'000,
                                   1'000'000,
                                   second,
                                   60 * second,
                                   3600 * second,
                                   86400 * second,
                                   604'800 * second,
                                   2'629'746 * second, // a month and a year
                                   31'556'952 * second};
        const int64* const unit =
            std::find_if(std::begin(units), std::end(units), [&](int64 count) { return TakesNanoseconds(count); });
        m_tick = Takes("0.5ns") ? 0 : unit != std::end(units) ? *unit : 1;
        // It is a part of that unit, by any of the factors that this has.
        int64 rest = m_tick;
        for (int64 factor = 2; rest > 1; ++factor)
        {
            if (factor * factor > rest)
                factor = rest;
            for (; rest % factor == 0; rest /= factor)
                if (TakesNanoseconds(m_tick / factor))
                    m_tick /= factor;
        }
    }

    const ForeignType& m_type;
    std::unique_ptr<char[]> m_memory;
    int64 m_tick = 0;
};

// What a new instance holds: of an object where data sources make one, of a value elsewhere.
class NewInstance
{
public:
    explicit NewInstance(const ReflectedClass& rc)
    {
        try
        {
            if (rc.m_createFn != nullptr)
                m_object = rc.m_createFn();
            else
                MakeValue(rc);
        }
        catch (const std::bad_alloc&)
        {
            throw;
        }
        catch (const std::exception&) // then there are no defaults to tell
        {
        }
    }
    NewInstance(const NewInstance&) = delete;
    NewInstance& operator=(const NewInstance&) = delete;
    ~NewInstance()
    {
        if (m_object)
            m_object.fns()->Destroy(m_object.self());
        if (m_value != nullptr)
            m_ops->m_DestructArrayFn(m_value.get(), m_ops->m_size, 1);
    }

    std::optional<std::string> TextOf(ReflectionByteCode type, ssize_t offset) const
    {
        const char* const data = m_object ? static_cast<const char*>(m_object.self()) : m_value.get();
        if (data == nullptr)
            return std::nullopt;
        try
        {
            TextStream text;
            WriteVariable(text, type, data + offset, {.m_isWhole = true});
            return std::move(text.m_text);
        }
        catch (const WriteException&) // such as a set, or a null persistent reference
        {
            return std::nullopt;
        }
        catch (const KelmAssertionError&) // a type that cannot be written
        {
            return std::nullopt;
        }
    }

private:
    struct TextStream : xostream
    {
        using xostream::put;
        void put(const char* text, long length) override { m_text.append(text, static_cast<std::size_t>(length)); }

        std::string m_text;
    };

    void MakeValue(const ReflectedClass& rc)
    {
        if (rc.m_ops == nullptr || rc.m_ops->m_ConstructArrayFn == nullptr || rc.m_ops->m_DestructArrayFn == nullptr)
            return;
        m_ops = rc.m_ops;
        auto memory = std::make_unique<char[]>(static_cast<std::size_t>(rc.m_size));
        m_ops->m_ConstructArrayFn(memory.get(), m_ops->m_size, 1);
        m_value = std::move(memory);
    }

    ptr<IObject> m_object;
    const TypeOps* m_ops = nullptr;
    std::unique_ptr<char[]> m_value;
};

// Calls back for each member that texts can give, in the order of a positional body.
struct Member
{
    ConstStringZ m_name;
    ReflectionByteCode m_type;
    ssize_t m_offset;
    const ReflectedClass& m_owner; // the class, or the one whose model it has
    ssize_t m_index;               // there: of its model's fields, or behind these
    bool m_isOfModel;
};
template <class F>
void ForEachMember(const ReflectedClass& rc, F f)
{
    if (const ClassModel model = FindClassModel(rc); model.m_class != nullptr)
        for (ssize_t i = 0; i < model.m_class->m_numModelFields; ++i)
            if (const ReflectedModelField& field = model.m_class->m_modelFields[i]; IsPresent(field))
                f(Member{field.m_name,
                         {field.m_bc, model.m_class->m_stringTable, field.m_mapOrSetFns},
                         model.m_offset + field.m_offset,
                         *model.m_class,
                         i,
                         true});
    for (ssize_t i = 0; i < GetOrdinaryFieldCount(rc); ++i)
        f(Member{rc.m_fields[i].m_name,
                 {rc.m_fields[i].m_bc, rc.m_stringTable},
                 rc.m_fields[i].m_offset,
                 rc,
                 GetModelFieldCount(rc) + i,
                 false});
}

class Cataloguer
{
public:
    Cataloguer(std::string_view name, Defaults defaults) : m_name(name), m_defaults(defaults) {}

    TypeCatalogue Make()
    {
        TypeCatalogue catalogue;
        for (const ReflectedEnum* re : GetReflectedEnums())
            if (IsAsked(re->m_name))
                Add(*re);
        for (const ReflectedClass* rc : GetReflectedClasses())
            if (IsAsked(rc->m_name))
                catalogue.m_classes.push_back(Of(*rc));
        for (const ReflectedVariant* rv : GetReflectedVariants())
            if (IsAsked(rv->m_name))
                catalogue.m_variants.push_back(Of(*rv));
        for (const ReflectedTypedef* rt : GetReflectedTypedefs())
            if (IsAsked(rt->m_name))
                catalogue.m_typedefs.push_back({EntryOf(*rt), NodeOf({rt->m_bc, rt->m_stringTable})});
        for (auto& [name, entry] : m_enums)
            if (IsAsked(name))
                catalogue.m_enums.push_back(std::move(entry));
        return catalogue;
    }

private:
    bool IsAsked(std::string_view name) const { return m_name.empty() || name == m_name; }

    template <class Descriptor>
    static CatalogueEntry EntryOf(const Descriptor& descriptor)
    {
        const dsTarget* const target = GetTargetDescription(GetTargetOfName(descriptor.m_name));
        CatalogueEntry entry{descriptor.m_name, target != nullptr ? TextOrNone(target->m_targetName) : "", {}, {}};
        Note(entry, descriptor.m_notes);
        return entry;
    }

    static void Note(CatalogueEntry& entry, const TypeNotes* notes)
    {
        if (notes == nullptr)
            return;
        entry.m_doc = TextOrNone(notes->m_doc);
        entry.m_place = {TextOrNone(notes->m_file), notes->m_line};
    }

    // Of a field or an enumerator.
    static std::string DocOf(const TypeNotes* notes, ssize_t i)
    {
        return notes != nullptr && notes->m_docs != nullptr ? TextOrNone(notes->m_docs[i]) : std::string();
    }

    void Add(const ReflectedEnum& re)
    {
        CatalogueEnum entry{EntryOf(re), {}};
        for (int32 i = 0; i < re.m_count; ++i)
            entry.m_enumerators.push_back({re.m_strings[i], re.GetValue(i), DocOf(re.m_notes, i)});
        m_enums.emplace(re.m_name, std::move(entry));
    }

    // An enumeration that no registry knows, but the types that hold it.
    void AddEnum(const ForeignType& type)
    {
        const auto [place, isNew] = m_enums.try_emplace(type.m_text->m_what);
        if (!isNew)
            return;
        CatalogueEnum& entry = place->second;
        entry.m_name = type.m_text->m_what;
        entry.m_isStandard = true;
        Note(entry, type.m_text->m_notes);
        for (ssize_t i = 0; i < type.m_text->m_numNames; ++i)
            entry.m_enumerators.push_back({type.m_text->m_names[i], ValueOf(type, type.m_text->m_names[i]), {}});
    }

    CatalogueVariant Of(const ReflectedVariant& rv)
    {
        CatalogueVariant entry{EntryOf(rv), {}};
        for (ssize_t i = 0; i < rv.m_numFields; ++i)
            entry.m_alternatives.push_back({rv.m_fields[i].m_name, NodeOf({rv.m_fields[i].m_bc, rv.m_stringTable})});
        return entry;
    }

    CatalogueClass Of(const ReflectedClass& rc)
    {
        CatalogueClass entry{EntryOf(rc), {}, {}, rc.m_createFn != nullptr, {}};
        for (ssize_t i = 0; i < rc.m_numBases; ++i)
            entry.m_bases.emplace_back(rc.m_bases[i].m_name);
        for (ssize_t i = 0; i < rc.m_numInterfaces; ++i)
            entry.m_interfaces.emplace_back(rc.m_interfaces[i]);

        ForEachMember(rc,
                      [&](const Member& field)
                      {
                          CatalogueMember member{field.m_name, NodeOf(field.m_type), std::nullopt,
                                                 DocOf(field.m_owner.m_notes, field.m_index)};
                          if (const FieldRule* const rules = field.m_owner.m_rules;
                              rules != nullptr && field.m_isOfModel)
                          {
                              member.m_isRequired = rules[field.m_index].m_isRequired;
                              member.m_isChecked = rules[field.m_index].m_check != nullptr;
                          }
                          member.m_isOfModel = field.m_isOfModel;
                          entry.m_members.push_back(std::move(member));
                      });
        if (m_defaults == Defaults::Told)
            TellDefaults(entry);
        return entry;
    }

    TypeNode NodeOf(ReflectionByteCode type)
    {
        TypeNode node{TypeKind::Other, TypeText(type)};
        for (;; type = type.GetElementType())
        {
            while (type.GetCode() >= MDT_FLAGS)
                type.ScanMetaDataItem();
            if (type.GetCode() == FT_CONST)
                node.m_isConst = true;
            else if (type.GetCode() != FT_VOLATILE && type.GetCode() != FT_ASSIGNABLE && type.GetCode() != FT_MOVABLE)
                break;
        }
        Fill(node, type);
        return node;
    }

    void Fill(TypeNode& node, ReflectionByteCode type)
    {
        const ETypeByteCode code = type.GetCode();
        if (const PlainKind* const plain = Find(s_plainKinds, code))
        {
            node.m_kind = plain->m_kind;
            node.m_name = plain->m_name;
        }
        else if (const WrappingKind* const named = Find(s_namedKinds, code))
        {
            node.m_kind = named->m_kind;
            node.m_name = type.GetName();
        }
        else if (const WrappingKind* const handle = Find(s_handleKinds, code))
        {
            node.m_kind = handle->m_kind;
            ReflectionByteCode target = type.GetElementType();
            target.AdvanceToUnderlyingType2();
            if (target.GetCode() == FT_CLASS || target.GetCode() == FT_INTERFACE)
                node.m_name = target.GetName();
        }
        else if (const WrappingKind* const list = Find(s_listKinds, code))
        {
            node.m_kind = list->m_kind;
            node.m_isDynamic = code == FT_DYNARRAY;
            node.m_parts.push_back(NodeOf(type.GetElementType()));
            if (code == FT_ARRAY)
                node.m_count = type.GetArrayCount();
        }
        else if (code == FT_MAP)
        {
            node.m_kind = TypeKind::Map;
            ReflectionByteCode payload = type.GetElementType();
            node.m_parts.push_back(NodeOf(payload));
            payload.ScanType();
            node.m_parts.push_back(NodeOf(payload));
        }
        else if (code == FT_FOREIGN)
            Fill(node, type.GetForeignType());
    }

    void Fill(TypeNode& node, const ForeignType& type)
    {
        node.m_isStandard = true;
        for (int32 i = 0; i < type.m_numParts; ++i)
            node.m_parts.push_back(NodeOf(type.GetPartType(i)));
        switch (type.GetForm())
        {
        case FF_TEXT:
            if (type.m_text->m_isIdentifier)
                AddEnum(type);
            node.m_kind = type.m_text->m_isIdentifier             ? TypeKind::Enum
                          : type.m_text->IsBeyondRange != nullptr ? TypeKind::Duration
                                                                  : TypeKind::Text;
            node.m_name = type.m_text->m_what;
            if (node.m_kind == TypeKind::Duration)
            {
                ProbedDuration duration(type);
                node.m_count = duration.GetTick();
                node.m_number = duration.GetNumber();
            }
            break;
        case FF_LIST: node.m_kind = type.m_list->m_isFixed ? TypeKind::Tuple : TypeKind::List; break;
        case FF_MAP: node.m_kind = type.m_numParts == 2 ? TypeKind::Map : TypeKind::Set; break;
        case FF_CHOICE:
            node.m_kind = type.IsOptional() ? TypeKind::Optional : TypeKind::Choice;
            node.m_isPointer = type.m_choice->m_isPointer;
            node.m_isShared = type.m_choice->IsShared != nullptr;
            if (!type.IsOptional())
                node.m_names.assign(type.m_choice->m_names, type.m_choice->m_names + type.m_numParts);
            break;
        }
    }

    std::string_view m_name;
    Defaults m_defaults;
    std::map<std::string, CatalogueEnum> m_enums;
};

} // namespace

void TellDefaults(CatalogueClass& entry)
{
    const ReflectedClass* const rc = TryFindReflectedClass(entry.m_name.c_str());
    if (rc == nullptr)
        return;
    const NewInstance instance(*rc);
    auto member = entry.m_members.begin();
    ForEachMember(*rc,
                  [&](const Member& field)
                  {
                      if (member != entry.m_members.end())
                          (member++)->m_default = instance.TextOf(field.m_type, field.m_offset);
                  });
}

TypeCatalogue CatalogueOfRegisteredTypes(std::string_view name, Defaults defaults)
{
    return Cataloguer(name, defaults).Make();
}

} // namespace kelm
