#include <support/HandmadeClasses.h>

#include <klObject/types/Registry.h>
#include <klObject/types/TypeOps.h>

#include <array>
#include <cstddef>
#include <iterator>

namespace kelm::hand
{

namespace
{

// A type's byte code, written where it is used.
template <int... Bytes>
constexpr uint8 Code[] = {static_cast<uint8>(Bytes)...};

enum EName : uint8
{
    N_NOWHERE,
    N_POINT,
    N_COLOR,
    N_LEVEL,
    N_EXTENT,
    N_COUNTED,
    N_TREE,
    N_WRAPPER,
    N_NUMBER,
    N_FIXED,
    N_ITEMS,
    N_SPOT,
    N_CHAIN,
    N_OBJECT,
};

constexpr ConstStringZ s_names[] = {
    "hand::Nowhere", "hand::geom::Point", "hand::Color",   "hand::Level",   "hand::Extent",
    "hand::Counted", "hand::Tree",        "hand::Wrapper", "hand::Number",  "hand::Fixed",
    "hand::Items",   "hand::Spot",        "hand::Chain",   "kelm::IObject", nullptr,
};

constexpr ReflectedModelField Present(ConstStringZ name, ssize_t offset, const uint8* bc,
                                      const PtrMapOrSetFns* fns = nullptr)
{
    return {name, offset, bc, 0, -1, fns};
}

constexpr ReflectedModelField Dropped(ConstStringZ name, ssize_t offset, const uint8* bc)
{
    return {name, offset, bc, 0, 2, nullptr};
}

constexpr ConstStringZ s_persistable[] = {"kelm::IPersistable"};

// --- Points and counted instances ------------------------------------------------------------------------------------

constexpr ReflectedModelField s_pointFields[] = {
    Present("x", offsetof(Point, m_x), Code<FT_INT32>),
    Present("y", offsetof(Point, m_y), Code<FT_INT32>),
};
const ReflectedClass s_point = {.m_name = "hand::geom::Point",
                                .m_size = sizeof(Point),
                                .m_modelFields = s_pointFields,
                                .m_numModelFields = std::size(s_pointFields),
                                .m_stringTable = s_names,
                                .m_createFn = CreateGcObject<Point>};

constexpr ReflectedModelField s_otherPointFields[] = {Present("z", offsetof(OtherPoint, m_z), Code<FT_INT32>)};
const ReflectedClass s_otherPoint = {.m_name = "hand::other::Point",
                                     .m_size = sizeof(OtherPoint),
                                     .m_modelFields = s_otherPointFields,
                                     .m_numModelFields = std::size(s_otherPointFields)};

constexpr ReflectedModelField s_countedFields[] = {Present("id", offsetof(Counted, m_id), Code<FT_INT32>)};
constexpr TypeOps s_countedOps = MakeTypeOps<Counted>();
const ReflectedClass s_counted = {.m_name = "hand::Counted",
                                  .m_size = sizeof(Counted),
                                  .m_modelFields = s_countedFields,
                                  .m_numModelFields = std::size(s_countedFields),
                                  .m_createFn = CreateGcObject<Counted>,
                                  .m_ops = &s_countedOps};

// --- Enumerations, variants, typedefs --------------------------------------------------------------------------------

constexpr ConstStringZ s_colorNames[] = {"Red", "Green", "None", "Crimson"};
constexpr int32 s_colorValues[] = {1, 5, -3, 1};
constexpr bool s_colorEnabled[] = {true, false, true, true};
constexpr ReflectedEnum s_color = {.m_name = "hand::Color",
                                   .m_count = std::size(s_colorNames),
                                   .m_strings = s_colorNames,
                                   .m_values = s_colorValues,
                                   .m_enabled = s_colorEnabled};

constexpr ConstStringZ s_levelNames[] = {"Low", "Mid", "High"};
constexpr ReflectedEnum s_level = {
    .m_name = "hand::Level", .m_count = std::size(s_levelNames), .m_strings = s_levelNames};

constexpr ConstStringZ s_extentNames[] = {"hand::other::Point", "hand::geom::Point", "hand::Counted", nullptr};
constexpr ssize_t s_atValue = Extent::ValueOffset();
constexpr ReflectedField s_extentAlternatives[] = {
    {"kelm::int64", s_atValue, Code<FT_INT64>},
    {"hand::geom::Point", s_atValue, Code<FT_CLASS, 1, 0>},
    {"kelm::xstring", s_atValue, Code<FT_STRING8>},
    {"hand::other::Point", s_atValue, Code<FT_CLASS, 0, 0>},
    {"hand::Counted", s_atValue, Code<FT_CLASS, 2, 0>},
    {"hand::list<int>", s_atValue, Code<FT_VECTOR, FT_INT32>},
    {"hand::Table", s_atValue, Code<FT_MAP, FT_INT32, FT_INT32>},
    {"hand::Nothing", s_atValue, Code<FT_VOID>},
};
constexpr TypeOps s_extentOps = []
{
    TypeOps ops;
    ops.m_size = sizeof(Extent);
    ops.m_ConstructArrayFn = ConstructArray<Extent>;
    ops.m_DestructArrayFn = DestructArray<Extent>;
    return ops;
}();
const ReflectedVariant s_extent = {.m_name = "hand::Extent",
                                   .m_size = sizeof(Extent),
                                   .m_fields = s_extentAlternatives,
                                   .m_numFields = std::size(s_extentAlternatives),
                                   .m_stringTable = s_extentNames,
                                   .m_ops = &s_extentOps};

constexpr ConstStringZ s_typedefNames[] = {"hand::geom::Point", "hand::Spot", nullptr};
constexpr ReflectedTypedef s_number = {.m_name = "hand::Number", .m_bc = Code<FT_INT32>};
constexpr ReflectedTypedef s_fixed = {.m_name = "hand::Fixed", .m_bc = Code<FT_CONST, FT_INT32>};
constexpr ReflectedTypedef s_items = {.m_name = "hand::Items", .m_bc = Code<FT_VECTOR, FT_INT32>};
constexpr ReflectedTypedef s_spot = {
    .m_name = "hand::Spot", .m_bc = Code<MDT_BOOL, 1, FT_VOLATILE, FT_CLASS, 0, 0>, .m_stringTable = s_typedefNames};
constexpr ReflectedTypedef s_chain = {
    .m_name = "hand::Chain", .m_bc = Code<FT_CONST, FT_TYPEDEF, 1, 0>, .m_stringTable = s_typedefNames};

// --- Values and containers -------------------------------------------------------------------------------------------

constexpr ReflectedModelField s_scalarFields[] = {
    Present("bool", offsetof(Scalars, m_bool), Code<FT_BOOL>),
    Present("int8", offsetof(Scalars, m_int8), Code<FT_INT8>),
    Present("int16", offsetof(Scalars, m_int16), Code<FT_INT16>),
    Present("int32", offsetof(Scalars, m_int32), Code<FT_INT32>),
    Present("int64", offsetof(Scalars, m_int64), Code<FT_INT64>),
    Present("uint8", offsetof(Scalars, m_uint8), Code<FT_UINT8>),
    Present("uint16", offsetof(Scalars, m_uint16), Code<FT_UINT16>),
    Present("uint32", offsetof(Scalars, m_uint32), Code<FT_UINT32>),
    Present("uint64", offsetof(Scalars, m_uint64), Code<FT_UINT64>),
    Present("float32", offsetof(Scalars, m_float32), Code<FT_FLOAT32>),
    Present("float64", offsetof(Scalars, m_float64), Code<FT_FLOAT64>),
    Present("char8", offsetof(Scalars, m_char8), Code<FT_CHAR8>),
    Present("char16", offsetof(Scalars, m_char16), Code<FT_CHAR16>),
    Present("string8", offsetof(Scalars, m_string8), Code<FT_STRING8>),
    Present("string16", offsetof(Scalars, m_string16), Code<FT_STRING16>),
    Present("color", offsetof(Scalars, m_color), Code<FT_ENUM, N_COLOR, 0>),
    Present("level", offsetof(Scalars, m_level), Code<FT_ENUM, N_LEVEL, 0>),
    Present("extent", offsetof(Scalars, m_extent), Code<FT_VARIANT, N_EXTENT, 0>),
};
const ReflectedClass s_scalars = {.m_name = "hand::Scalars",
                                  .m_size = sizeof(Scalars),
                                  .m_modelFields = s_scalarFields,
                                  .m_numModelFields = std::size(s_scalarFields),
                                  .m_stringTable = s_names,
                                  .m_createFn = CreateGcObject<Scalars>};

// One table for each map, with an entry for each map within its payload behind it.
template <class Map, class... Nested>
constexpr PtrMapOrSetFns FnsOf[] = {{{&Map::table}}, {{&Nested::table}}...};

constexpr const PtrMapOrSetFns* s_intMapFns = FnsOf<MapFunctions<int32, int32>>;

constexpr ReflectedModelField s_containerFields[] = {
    Present("fixed", offsetof(Containers, m_fixed), Code<FT_ARRAY, 4, 0, 0, 0, FT_INT32>),
    Present("matrix", offsetof(Containers, m_matrix), Code<FT_ARRAY, 2, 0, 0, 0, FT_ARRAY, 3, 0, 0, 0, FT_INT32>),
    Present("none", offsetof(Containers, m_none), Code<FT_ARRAY, 0, 0, 0, 0, FT_INT32>),
    Present("corners", offsetof(Containers, m_corners), Code<FT_ARRAY, 2, 0, 0, 0, FT_CLASS, N_POINT, 0>),
    Present("vec", offsetof(Containers, m_vec), Code<FT_VECTOR, FT_INT32>),
    Present("strings", offsetof(Containers, m_strings), Code<FT_VECTOR, FT_STRING8>),
    Present("points", offsetof(Containers, m_points), Code<FT_VECTOR, FT_CLASS, N_POINT, 0>),
    Present("vecs", offsetof(Containers, m_vecs), Code<FT_VECTOR, FT_VECTOR, FT_INT32>),
    Present("dyn", offsetof(Containers, m_dyn), Code<FT_DYNARRAY, FT_INT32>),
    Present("dynPoints", offsetof(Containers, m_dynPoints), Code<FT_DYNARRAY, FT_CLASS, N_POINT, 0>),
    Present("counted", offsetof(Containers, m_counted), Code<FT_VECTOR, FT_CLASS, N_COUNTED, 0>),
    Present("extents", offsetof(Containers, m_extents), Code<FT_VECTOR, FT_VARIANT, N_EXTENT, 0>),
    Present("map", offsetof(Containers, m_map), Code<FT_MAP, FT_INT32, FT_INT32>, s_intMapFns),
    Present("nested", offsetof(Containers, m_nested), Code<FT_MAP, FT_INT32, FT_MAP, FT_STRING8, FT_INT32>,
            FnsOf<MapFunctions<int32, xmap<xstring, int32>>, MapFunctions<xstring, int32>>),
    Present("byName", offsetof(Containers, m_byName), Code<FT_MAP, FT_STRING8, FT_VECTOR, FT_INT32>,
            FnsOf<MapFunctions<xstring, xvector<int32>>>),
    Present("byPoint", offsetof(Containers, m_byPoint), Code<FT_MAP, FT_CLASS, N_POINT, 0, FT_INT32>,
            FnsOf<MapFunctions<Point, int32>>),
    Present("byVector", offsetof(Containers, m_byVector), Code<FT_MAP, FT_VECTOR, FT_INT32, FT_INT32>,
            FnsOf<MapFunctions<xvector<int32>, int32>>),
    Present("byCounted", offsetof(Containers, m_byCounted), Code<FT_MAP, FT_CLASS, N_COUNTED, 0, FT_INT32>,
            FnsOf<MapFunctions<Counted, int32>>),
    Present("maps", offsetof(Containers, m_maps), Code<FT_VECTOR, FT_MAP, FT_INT32, FT_INT32>, s_intMapFns),
};
const ReflectedClass s_containers = {.m_name = "hand::Containers",
                                     .m_size = sizeof(Containers),
                                     .m_modelFields = s_containerFields,
                                     .m_numModelFields = std::size(s_containerFields),
                                     .m_stringTable = s_names,
                                     .m_createFn = CreateGcObject<Containers>};

constexpr ReflectedModelField s_treeFields[] = {
    Present("value", offsetof(Tree, m_value), Code<FT_INT32>),
    Present("kids", offsetof(Tree, m_kids), Code<FT_VECTOR, FT_CLASS, N_TREE, 0>),
};
const ReflectedClass s_tree = {.m_name = "hand::Tree",
                               .m_size = sizeof(Tree),
                               .m_modelFields = s_treeFields,
                               .m_numModelFields = std::size(s_treeFields),
                               .m_stringTable = s_names,
                               .m_createFn = CreateGcObject<Tree>};

// --- Handles ---------------------------------------------------------------------------------------------------------

constexpr ReflectedModelField s_nodeFields[] = {
    Present("value", offsetof(Node, m_value), Code<FT_INT32>),
    Present("name", offsetof(Node, m_name), Code<FT_STRING8>),
    Present("next", offsetof(Node, m_next), Code<FT_INTERFACE_POINTER, FT_INTERFACE, N_OBJECT, 0>),
    Present("ref", offsetof(Node, m_ref), Code<FT_PREF, FT_INTERFACE, N_OBJECT, 0>),
    Present("cref", offsetof(Node, m_cref), Code<FT_CREF, FT_INTERFACE, N_OBJECT, 0>),
    Present("kids", offsetof(Node, m_kids), Code<FT_VECTOR, FT_INTERFACE_POINTER, FT_INTERFACE, N_OBJECT, 0>),
    Present("named", offsetof(Node, m_named), Code<FT_MAP, FT_STRING8, FT_INTERFACE_POINTER, FT_INTERFACE, N_OBJECT, 0>,
            FnsOf<MapFunctions<xstring, ptr<IObject>>>),
    Present("points", offsetof(Node, m_points), Code<FT_ARRAY, 2, 0, 0, 0, FT_CLASS, N_POINT, 0>),
};
const ReflectedClass s_node = {.m_name = "hand::Node",
                               .m_size = sizeof(Node),
                               .m_modelFields = s_nodeFields,
                               .m_numModelFields = std::size(s_nodeFields),
                               .m_stringTable = s_names,
                               .m_interfaces = s_persistable,
                               .m_numInterfaces = std::size(s_persistable),
                               .m_createFn = CreateGcObject<Node>};

constexpr ReflectedModelField s_plainFields[] = {Present("value", offsetof(Plain, m_value), Code<FT_INT32>)};
const ReflectedClass s_plain = {.m_name = "hand::Plain",
                                .m_size = sizeof(Plain),
                                .m_modelFields = s_plainFields,
                                .m_numModelFields = std::size(s_plainFields),
                                .m_createFn = CreateGcObject<Plain>};

// --- Models ----------------------------------------------------------------------------------------------------------

constexpr ConstStringZ s_modelNames[] = {"hand::geom::Point", nullptr};
constexpr ReflectedModelField s_modelFields[] = {
    Present("a", offsetof(Model, m_a), Code<FT_INT32>),
    Present("b", offsetof(Model, m_b), Code<FT_ARRAY, 2, 0, 0, 0, FT_INT32>),
    Present("label", offsetof(Model, m_label), Code<FT_STRING8>),
    Present("at", offsetof(Model, m_at), Code<FT_CLASS, 0, 0>),
};
const ReflectedClass s_model = {.m_name = "hand::Model",
                                .m_size = sizeof(Model),
                                .m_modelFields = s_modelFields,
                                .m_numModelFields = std::size(s_modelFields),
                                .m_stringTable = s_modelNames};

constexpr ReflectedField s_wrapperFields[] = {
    {"id", offsetof(Wrapper, m_id), Code<FT_INT32>},
    {"tag", offsetof(Wrapper, m_tag), Code<FT_STRING8>},
};
constexpr ReflectedModelField s_wrapperModel[] = {Present("hand::Model", offsetof(Wrapper, m_model), nullptr)};
const ReflectedClass s_wrapper = {.m_name = "hand::Wrapper",
                                  .m_size = sizeof(Wrapper),
                                  .m_fields = s_wrapperFields,
                                  .m_numFields = std::size(s_wrapperFields),
                                  .m_modelFields = s_wrapperModel,
                                  .m_numModelFields = 0,
                                  .m_stringTable = s_names,
                                  .m_createFn = CreateGcObject<Wrapper>};

constexpr ReflectedModelField s_outerModelFields[] = {
    Present("wrapper", offsetof(Outer, m_wrapper), Code<FT_CLASS, N_WRAPPER, 0>),
};
constexpr ReflectedField s_outerFields[] = {{"inner", offsetof(Outer, m_inner), Code<FT_CLASS, N_WRAPPER, 0>}};
const ReflectedClass s_outer = {.m_name = "hand::Outer",
                                .m_size = sizeof(Outer),
                                .m_fields = s_outerFields,
                                .m_numFields = std::size(s_outerFields),
                                .m_modelFields = s_outerModelFields,
                                .m_numModelFields = std::size(s_outerModelFields),
                                .m_stringTable = s_names,
                                .m_createFn = CreateGcObject<Outer>};

constexpr ReflectedModelField s_orphanModel[] = {Present("hand::Nowhere", 0, nullptr)};
const ReflectedClass s_orphan = {.m_name = "hand::Orphan",
                                 .m_size = sizeof(Orphan),
                                 .m_modelFields = s_orphanModel,
                                 .m_numModelFields = 0,
                                 .m_createFn = CreateGcObject<Orphan>};

constexpr ReflectedModelField s_evolvedModelFields[] = {
    Dropped("old", offsetof(Evolved, m_old), Code<FT_INT32>),
    Present("kept", offsetof(Evolved, m_kept), Code<FT_INT32>),
    Dropped("again", offsetof(Evolved, m_againOld), Code<FT_INT32>),
    Present("again", offsetof(Evolved, m_again), Code<FT_INT32>),
    Present("twice", offsetof(Evolved, m_twice), Code<FT_INT32>),
    Dropped("twice", offsetof(Evolved, m_twiceOld), Code<FT_INT32>),
    Dropped("shadow", offsetof(Evolved, m_shadowOld), Code<FT_INT32>),
};
constexpr ReflectedField s_evolvedFields[] = {
    {"shadow", offsetof(Evolved, m_shadow), Code<FT_INT32>},
    {"last", offsetof(Evolved, m_last), Code<FT_INT32>},
};
const ReflectedClass s_evolved = {.m_name = "hand::Evolved",
                                  .m_size = sizeof(Evolved),
                                  .m_fields = s_evolvedFields,
                                  .m_numFields = std::size(s_evolvedFields),
                                  .m_modelFields = s_evolvedModelFields,
                                  .m_numModelFields = std::size(s_evolvedModelFields),
                                  .m_createFn = CreateGcObject<Evolved>};

constexpr ReflectedField s_ordinaryFields[] = {
    {"number", offsetof(Ordinary, m_number), Code<FT_INT32>},
    {"text", offsetof(Ordinary, m_text), Code<FT_STRING8>},
    {"point", offsetof(Ordinary, m_point), Code<FT_CLASS, N_POINT, 0>},
    {"list", offsetof(Ordinary, m_list), Code<FT_VECTOR, FT_INT32>},
    {"map", offsetof(Ordinary, m_map), Code<FT_MAP, FT_INT32, FT_INT32>},
};
const ReflectedClass s_ordinary = {.m_name = "hand::Ordinary",
                                   .m_size = sizeof(Ordinary),
                                   .m_fields = s_ordinaryFields,
                                   .m_numFields = std::size(s_ordinaryFields),
                                   .m_stringTable = s_names,
                                   .m_createFn = CreateGcObject<Ordinary>};

constexpr auto s_namedModelFields = []
{
    std::array<ReflectedModelField, std::size(Named::Names)> fields{};
    for (std::size_t i = 0; i < fields.size(); ++i)
        fields[i] = Present(Named::Names[i], static_cast<ssize_t>(offsetof(Named, m_values) + i * sizeof(int32)),
                            Code<FT_INT32>);
    return fields;
}();
const ReflectedClass s_named = {.m_name = "hand::Named",
                                .m_size = sizeof(Named),
                                .m_modelFields = s_namedModelFields.data(),
                                .m_numModelFields = std::size(s_namedModelFields),
                                .m_createFn = CreateGcObject<Named>};

const ReflectedClass s_bare = {.m_name = "hand::Bare", .m_size = sizeof(Bare), .m_createFn = CreateGcObject<Bare>};
const ReflectedClass s_abstract = {.m_name = "hand::Abstract", .m_size = sizeof(Bare)};

ptr<IObject> MakeNothing()
{
    return nullptr;
}
const ReflectedClass s_nullMaker = {.m_name = "hand::NullMaker", .m_size = sizeof(Bare), .m_createFn = MakeNothing};

// --- Qualified and impossible types ----------------------------------------------------------------------------------

constexpr uint8 s_everyMetadata[] = {
    MDT_FLAGS,
    1,
    2,
    3,
    4, //
    MDT_BOOL,
    1, //
    MDT_INT32,
    1,
    2,
    3,
    4, //
    MDT_FLOAT64,
    1,
    2,
    3,
    4,
    5,
    6,
    7,
    8, //
    MDT_STRING,
    0,
    0, //
    MDT_BEGIN_FUNCTOR,
    0,
    0,
    MDT_BOOL,
    0,
    MDT_END_FUNCTOR, //
    MDT_BEGIN_LIST,
    MDT_BOOL,
    0,
    MDT_END_LIST, //
    MDT_FUNCTOR_1,
    0,
    0,
    MDT_BOOL,
    0, //
    MDT_LIST_2,
    MDT_BOOL,
    0,
    MDT_LIST_0, //
    FT_INT32,
};

constexpr ReflectedModelField s_qualifiedFields[] = {
    Present("const", offsetof(Qualified, m_const), Code<FT_CONST, FT_INT32>),
    Present("volatile", offsetof(Qualified, m_volatile), Code<FT_VOLATILE, FT_INT32>),
    Present("assignable", offsetof(Qualified, m_assignable), Code<FT_ASSIGNABLE, FT_INT32>),
    Present("movable", offsetof(Qualified, m_movable), Code<FT_MOVABLE, FT_INT32>),
    Present("number", offsetof(Qualified, m_number), Code<FT_TYPEDEF, N_NUMBER, 0>),
    Present("fixed", offsetof(Qualified, m_fixed), Code<FT_TYPEDEF, N_FIXED, 0>),
    Present("flagged", offsetof(Qualified, m_flagged), s_everyMetadata),
    Present("constPoint", offsetof(Qualified, m_constPoint), Code<FT_CONST, FT_CLASS, N_POINT, 0>),
    Present("spot", offsetof(Qualified, m_spot), Code<FT_TYPEDEF, N_SPOT, 0>),
    Present("chain", offsetof(Qualified, m_chain), Code<FT_TYPEDEF, N_CHAIN, 0>),
    Present("items", offsetof(Qualified, m_items), Code<FT_TYPEDEF, N_ITEMS, 0>),
    Present("constItems", offsetof(Qualified, m_constItems), Code<FT_VECTOR, FT_CONST, FT_INT32>),
    Present("map", offsetof(Qualified, m_map), Code<FT_VOLATILE, FT_MAP, FT_INT32, FT_TYPEDEF, N_NUMBER, 0>,
            s_intMapFns),
};
const ReflectedClass s_qualified = {.m_name = "hand::Qualified",
                                    .m_size = sizeof(Qualified),
                                    .m_modelFields = s_qualifiedFields,
                                    .m_numModelFields = std::size(s_qualifiedFields),
                                    .m_stringTable = s_names,
                                    .m_createFn = CreateGcObject<Qualified>};

constexpr PtrMapOrSetFns s_noMapFns[] = {{{nullptr}}};

constexpr ReflectedModelField s_impossibleFields[] = {
    Present("void", 0, Code<FT_VOID>),
    Present("interface", 0, Code<FT_INTERFACE, N_OBJECT, 0>),
    Present("functor", 0, Code<FT_FUNCTOR>),
    Present("pointer", 0, Code<FT_POINTER, FT_INT32>),
    Present("functionPtr", 0, Code<FT_FUNCTION_PTR>),
    Present("reference", 0, Code<FT_REFERENCE, FT_INT32>),
    Present("set", 0, Code<FT_SET, FT_INT32>),
    Present("map", 0, Code<FT_MAP, FT_INT32, FT_INT32>),
    Present("mapWithoutFns", 0, Code<FT_MAP, FT_INT32, FT_INT32>, s_noMapFns),
    Present("int128", 0, Code<FT_INT128>),
    Present("uint128", 0, Code<FT_UINT128>),
    Present("notReflected", 0, Code<FT_NOT_REFLECTED>),
    Present("offsettable", 0, Code<FT_OFFSETTABLE, FT_INT32>),
    Present("openVariant", 0, Code<FT_OPEN_VARIANT>),
    Present("deque", 0, Code<FT_DEQUE, FT_INT32>),
    Present("list", 0, Code<FT_LIST, FT_INT32>),
    Present("bag", 0, Code<FT_BAG, FT_INT32>),
    Present("param0", 0, Code<FT_PARAM_0>),
    Present("param5", 0, Code<FT_PARAM_5>),
    Present("unknownCode", 0, Code<40>),
    Present("unknownMetadata", 0, Code<200>),
    Present("unknownClass", 0, Code<FT_CLASS, N_NOWHERE, 0>),
    Present("unknownVariant", 0, Code<FT_VARIANT, N_NOWHERE, 0>),
    Present("unknownEnum", 0, Code<FT_ENUM, N_NOWHERE, 0>),
    Present("unknownTypedef", 0, Code<FT_TYPEDEF, N_NOWHERE, 0>),
};
const ReflectedClass s_impossible = {.m_name = "hand::Impossible",
                                     .m_size = sizeof(Impossible),
                                     .m_modelFields = s_impossibleFields,
                                     .m_numModelFields = std::size(s_impossibleFields),
                                     .m_stringTable = s_names,
                                     .m_createFn = CreateGcObject<Impossible>};

void RegisterAll()
{
    for (const ReflectedClass* rc :
         {&s_point, &s_otherPoint, &s_counted,  &s_scalars,   &s_containers, &s_tree,      &s_node,
          &s_plain, &s_model,      &s_wrapper,  &s_outer,     &s_orphan,     &s_evolved,   &s_ordinary,
          &s_named, &s_bare,       &s_abstract, &s_nullMaker, &s_qualified,  &s_impossible})
        EXPECT_EQ(RegisterReflectedClass(rc, nullptr), NSE_OK) << rc->m_name;
    for (const ReflectedEnum* r : {&s_color, &s_level})
        EXPECT_EQ(RegisterReflectedEnum(r, nullptr), NSE_OK) << r->m_name;
    for (const ReflectedTypedef* r : {&s_number, &s_fixed, &s_items, &s_spot, &s_chain})
        EXPECT_EQ(RegisterReflectedTypedef(r, nullptr), NSE_OK) << r->m_name;
    EXPECT_EQ(RegisterReflectedVariant(&s_extent, nullptr), NSE_OK);
}

} // namespace

const ReflectedClass& _GetReflected(const Point*)
{
    return s_point;
}
const ReflectedClass& _GetReflected(const Counted*)
{
    return s_counted;
}
const ReflectedClass& _GetReflected(const Scalars*)
{
    return s_scalars;
}
const ReflectedClass& _GetReflected(const Containers*)
{
    return s_containers;
}
const ReflectedClass& _GetReflected(const Node*)
{
    return s_node;
}
const ReflectedClass& _GetReflected(const Plain*)
{
    return s_plain;
}
const ReflectedClass& _GetReflected(const Tree*)
{
    return s_tree;
}
const ReflectedClass& _GetReflected(const Model*)
{
    return s_model;
}
const ReflectedClass& _GetReflected(const Wrapper*)
{
    return s_wrapper;
}
const ReflectedClass& _GetReflected(const Outer*)
{
    return s_outer;
}
const ReflectedClass& _GetReflected(const Orphan*)
{
    return s_orphan;
}
const ReflectedClass& _GetReflected(const Evolved*)
{
    return s_evolved;
}
const ReflectedClass& _GetReflected(const Ordinary*)
{
    return s_ordinary;
}
const ReflectedClass& _GetReflected(const Qualified*)
{
    return s_qualified;
}
const ReflectedClass& _GetReflected(const Named*)
{
    return s_named;
}
const ReflectedClass& _GetReflected(const Bare*)
{
    return s_bare;
}
const ReflectedClass& _GetReflected(const Impossible*)
{
    return s_impossible;
}

const ReflectedVariant& GetExtentVariant()
{
    return s_extent;
}

void RegisterHandmadeClasses()
{
    static const bool s_isRegistered = (RegisterAll(), true);
    static_cast<void>(s_isRegistered);
}

} // namespace kelm::hand
