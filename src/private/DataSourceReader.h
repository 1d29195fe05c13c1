#pragma once

// The reader of data sources: a recursive descent driven by the types' byte code, which decides the tokens expected.
// ParseDataSource.h has the rules and is how it is asked.

#include <klKelmScript/ParseDataSource.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/text/private/Cursor.h>
#include <klUtils/xvector.h>

namespace kelm
{

struct FieldIndex;
struct ForeignTextFns;
struct ForeignType;
class prefbase;

// Reads with a cursor of its own over the parser's text. The parser's members are as its users know them whenever
// somebody else runs: when the reader is gone, and while a host's function is called.
class DataSourceReader
{
public:
    explicit DataSourceReader(ExpressionParser& parser) : m_cursor(parser) {}

    // A class's name and its object; null for the name "null".
    ptr<IObject> ReadDataSource();
    ptr<IObject> ReadObject(ConstStringZ className);

    // Each reads into a constructed variable.
    void ReadVariable(const ReflectionByteCode& type, void* data);
    void ReadClass(const ReflectedClass& rc, void* data);
    void ReadArray(const ReflectionByteCode& elementType, ssize_t count, void* data);
    void ReadVector(const ReflectionByteCode& elementType, VectorOfByte& vector);
    void ReadMap(const ReflectionByteCode& mapType, void* map);
    void ReadVariant(const ReflectedVariant& rv, void* data);

private:
    // What reading a body takes to know of the class, looked up once for all elements of a list.
    struct ClassShape
    {
        explicit ClassShape(const ReflectedClass& rc);

        const ReflectedClass& m_rc;
        ClassModel m_model;
        const FieldIndex* m_index; // of the model; null where it has none
    };

    void ReadValue(const ReflectionByteCode& type, void* data);
    void ReadNested(ReflectionByteCode type, void* data);
    void ReadUnderlying(const ReflectionByteCode& type, void* data);
    void ReadForeign(const ForeignType& type, void* data);
    void ReadForeignText(const ForeignTextFns& fns, void* text);
    void ReadForeignList(const ForeignType& type, void* list);
    void ReadForeignMap(const ForeignType& type, void* map);
    void ReadForeignChoice(const ForeignType& type, void* choice);
    void ReadEnumerator(const ReflectedEnum& r, void* data);
    void ReadEnumeratorByNumber(const ReflectedEnum& r, void* data);
    void ReadPersistentReference(prefbase& reference);

    void ReadInstance(const ClassShape& shape, char* data);
    void ReadClassName(const ReflectedClass& rc);
    void ReadPositionalBody(const ClassShape& shape, char* data);
    void ReadNamedBody(const ClassShape& shape, char* data);
    void ReadMemberOutOfOrder(const ClassShape& shape, char* data, ssize_t& nextModelField, ssize_t& nextField);
    void PassNameAndEqual();
    void ReadModelField(const ClassShape& shape, ssize_t i, char* data);
    void ReadOrdinaryField(const ClassShape& shape, ssize_t i, char* data);

    bool PassListStart();
    void ReadEnumerators(const ReflectedEnum& r, VectorOfByte& vector);
    void ReadInstances(const ReflectedClass& rc, VectorOfByte& vector);
    void ReadElements(const ReflectionByteCode& type, VectorOfByte& vector);

    [[noreturn]] void ThrowUnknown(ConstStringZ what, SubString written, ConstStringZ container,
                                   ConstStringZ name) const;

    text::ParserCursor m_cursor;
    int m_foreignDepth = 0; // how many foreign values are being read, one in the other
};

} // namespace kelm
