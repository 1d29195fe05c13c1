#include <support/ReferencePath.h>

#include <klObject/objects/prefbase.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/Registry.h>
#include <klPersistStore/ReadBarrier.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/xvector.h>
#include <support/ReferenceComparison.h>
#include <support/ReferenceLiterals.h>

namespace kelm::reference
{

namespace
{

constexpr ssize_t s_maxGrowth = 1 << 20;

void Require(bool condition, ConstStringZ text)
{
    if (!condition)
        ThrowKelmAssertionError(text, "src/ParseFieldPath", 0);
}

} // namespace

void PathWalk::Walk(ptr<IObject> object)
{
    Require(static_cast<bool>(object), "obj");
    m_object = object;
    m_data = static_cast<char*>(object.self());
    const ReflectedClass* const rc = object.GetReflectedClass();
    Require(rc != nullptr, "rc");
    WalkInstance(*rc);
}

void PathWalk::WalkInstance(const ReflectedClass& rc)
{
    if (m_stream.m_token.m_kind != TOKEN_DOT)
        return;
    m_stream.ReadNextToken();
    if (m_stream.m_token.m_kind != TOKEN_IDENTIFIER)
        m_stream.ThrowExpected("identifier");
    const std::string name = m_stream.CurrentText();

    Require(rc.m_modelFields != nullptr, "rc.m_modelFields");
    const ReflectedClass* model = &rc;
    ssize_t offset = 0;
    if (rc.m_numModelFields == 0)
    {
        model = &FindReflectedClass(rc.m_modelFields->m_name);
        offset = rc.m_modelFields->m_offset;
    }
    const ReflectedModelField* rf = nullptr;
    for (ssize_t i = 0; i < model->m_numModelFields && rf == nullptr; ++i)
        if (name == model->m_modelFields[i].m_name)
            rf = &model->m_modelFields[i];
    if (rf == nullptr)
        m_stream.Throw("Identifier " + name + " is not a model field of class " + rc.m_name);
    m_stream.ReadNextToken();
    Require(rf->m_rsn2 == -1, "rf.m_rsn2 == -1");

    m_data += offset + rf->m_offset;
    m_rbc = {rf->m_bc, model->m_stringTable, rf->m_mapOrSetFns};
    WalkVariable();
}

void PathWalk::WalkVariable()
{
    static constexpr struct
    {
        ETypeByteCode m_code;
        ConstStringZ m_condition;
    } s_impossible[] = {{FT_MAP, "0"},
                        {FT_SET, "0"},
                        {FT_VOID, "type != FT_VOID"},
                        {FT_INTERFACE, "type != FT_INTERFACE"},
                        {FT_FUNCTOR, "type != FT_FUNCTOR"},
                        {FT_POINTER, "type != FT_POINTER"},
                        {FT_FUNCTION_PTR, "type != FT_FUNCTION_PTR"},
                        {FT_REFERENCE, "type != FT_REFERENCE"}};
    while (true)
    {
        if (m_isReadAccess)
            DataSourceReadBarrier(m_data, m_object, nullptr);
        ReflectionByteCode type = m_rbc;
        Require((type.AdvanceToUnderlyingType2() & PASSED_CONST) == 0, "!isConst");
        const ETypeByteCode code = type.GetCode();
        const EToken token = m_stream.m_token.m_kind;
        const bool isHandle = code == FT_PREF || code == FT_CREF || code == FT_INTERFACE_POINTER;
        const bool isIndexed = code == FT_ARRAY || code == FT_DYNARRAY || code == FT_VECTOR;
        for (const auto& row : s_impossible)
            Require(row.m_code != code, row.m_condition);

        if (code == FT_CLASS)
        {
            m_rbc = type;
            Require(type.GetReflectedClass() != nullptr, "rc");
            return WalkInstance(*type.GetReflectedClass());
        }
        if (isHandle && token == TOKEN_DOT)
            return StepThroughHandle(type, code == FT_INTERFACE_POINTER
                                               ? *reinterpret_cast<ptr<IObject>*>(m_data)
                                               : ptr<IObject>(reinterpret_cast<prefbase*>(m_data)->Get()));
        if (!isIndexed || token != TOKEN_LEFT_SQUARE)
            return;
        m_stream.ReadNextToken();
        if (code == FT_ARRAY)
            StepIntoArray(type);
        else if (code == FT_DYNARRAY)
            StepIntoDynArray(type);
        else
            StepIntoVector(type);
    }
}

void PathWalk::StepThroughHandle(const ReflectionByteCode& type, ptr<IObject> target)
{
    m_rbc = type;
    m_object = target;
    if (!target)
        m_stream.Throw("null dereference");
    const ReflectedClass* const rc = target.GetReflectedClass();
    Require(rc != nullptr, "rc");
    m_data = static_cast<char*>(target.self());
    WalkInstance(*rc);
}

void PathWalk::StepIntoArray(const ReflectionByteCode& type)
{
    const int32 count = type.GetArrayCount();
    m_rbc = {type.m_bc + 5, type.m_stringTable, type.m_mapOrSetFns};
    Require(count > 0, "arraySize > 0");
    const ssize_t size = m_rbc.GetTypeSize();
    const auto index = ParseInteger<int32>(m_stream, "int32");
    if (index < 0 || index >= count)
        m_stream.Throw("Array index " + std::to_string(index) + " out of range");
    m_stream.ParseGivenToken(TOKEN_RIGHT_SQUARE, "]");
    m_data += index * size;
}

void PathWalk::StepIntoDynArray(const ReflectionByteCode& type)
{
    m_rbc = {type.m_bc + 1, type.m_stringTable, type.m_mapOrSetFns};
    const ssize_t size = m_rbc.GetTypeSize();
    m_stream.ParseGivenToken(TOKEN_LEFT_SQUARE, "[");
    const auto index = ParseInteger<int32>(m_stream, "int32");
    VectorOfByte& bytes = *reinterpret_cast<VectorOfByte*>(m_data);
    const ssize_t end = (index + ssize_t{1}) * size;
    if (index < 0 || (end > bytes.size() && end > m_growthLimit))
        m_stream.Throw("Array index " + std::to_string(index) + " out of range");
    m_stream.ParseGivenToken(TOKEN_RIGHT_SQUARE, "]");
    if (end > s_maxGrowth)
        throw NotForComparison();
    if (end > bytes.size())
        bytes.resize(end);
    m_data = bytes.data() + index * size;
}

void PathWalk::StepIntoVector(const ReflectionByteCode& type)
{
    m_rbc = {type.m_bc + 1, type.m_stringTable, type.m_mapOrSetFns};
    const ssize_t size = m_rbc.GetTypeSize();
    Require(size > 0, "elementSize > 0");
    VectorOfByte& bytes = *reinterpret_cast<VectorOfByte*>(m_data);
    Require(bytes.size() % size == 0, "V.size() % elementSize == 0");
    const auto index = ParseInteger<int32>(m_stream, "int32");
    if (index < 0 || index >= bytes.size() / size)
        m_stream.Throw("Vector index " + std::to_string(index) + " out of range");
    m_stream.ParseGivenToken(TOKEN_RIGHT_SQUARE, "]");
    m_data = bytes.data() + index * size;
}

} // namespace kelm::reference
