#pragma once

// The descriptors: what is known of each class, variant, enumeration, typedef, interface and global function. All are
// constant data that whoever describes the type owns and that outlives their registration; they are aggregates, so
// that they can be written by hand, and what the reader does not need may be left out.

#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/types.h>

namespace kelm
{

class IObject;
class IObjectVisitor;
class IPrefVisitor;
class xostream;
struct EnumIndex;
struct FieldIndex;
struct HandlePlan;
struct VariantIndex;
struct WritePlan;
template <class I>
class ptr;

// The operations on arrays of one type. An array is given by the address of its first element, the stride between
// elements in bytes, and their number. A slot is null where the type has no such operation.
struct TypeOps
{
    ssize_t m_size = 0;
    bool (*m_equalsFn)(const void* a, const void* b) = nullptr;
    bool (*m_lessFn)(const void* a, const void* b) = nullptr;
    void (*m_PrintVariableFn)(xostream& os, const void* variable) = nullptr;
    void (*m_ConstructArrayFn)(void* dst, ssize_t dstStride, ssize_t count) = nullptr;
    void (*m_CopyConstructArrayFn)(void* dst, ssize_t dstStride, const void* src, ssize_t srcStride,
                                   ssize_t count) = nullptr;
    void (*m_AssignArrayFn)(void* dst, ssize_t dstStride, const void* src, ssize_t srcStride, ssize_t count) = nullptr;
    void (*m_DestructArrayFn)(void* dst, ssize_t dstStride, ssize_t count) = nullptr;
    void (*m_SerialiseArrayFn)() = nullptr;   // reserved
    void (*m_DeserialiseArrayFn)() = nullptr; // reserved
    void (*m_VisitObjectsInArrayFn)(const void* src, ssize_t srcStride, ssize_t count, IObjectVisitor&) = nullptr;
    void (*m_VisitPrefsInArrayFn)(const void* src, ssize_t srcStride, ssize_t count, IPrefVisitor&) = nullptr;
    ssize_t (*m_LowerBoundFn)(const void* base, ssize_t stride, ssize_t n, const void* key) = nullptr;
    ssize_t (*m_UpperBoundFn)(const void* base, ssize_t stride, ssize_t n, const void* key) = nullptr;
    void (*m_ConstructVariableFromSelfFn)() = nullptr; // reserved
    void (*m_ConstructSelfFromVariableFn)() = nullptr; // reserved
    void (*m_AssignVariableFromSelfFn)() = nullptr;    // reserved
    void (*m_AssignSelfFromVariableFn)() = nullptr;    // reserved
};

// Receives the entries of a map or the elements of a set, in order; false ends the walk. A set passes a null payload.
using EntryVisitor = bool (*)(void* context, const void* key, void* payload);

// The function table of one map type. A map, like a set, takes one word and may be moved as bytes.
struct MapFns
{
    // The address of the payload under `key`, which is default-constructed where the key was absent. Valid until the
    // next insertion.
    void* (*Insert)(void* map, const void* key);
    void (*Construct)(void* map);
    void (*Destruct)(void* map);
    ssize_t (*Count)(const void* map);
    void (*ForEach)(const void* map, EntryVisitor visitor, void* context); // in key order
    void* (*Find)(const void* map, const void* key); // the payload under the key; null where there is none
    bool (*Erase)(void* map, const void* key);       // whether there was an entry
    // Whether Insert runs nothing of a program's, no constructor and no comparison.
    bool m_insertsAlone = false;
};

// The function table of one set type.
struct SetFns
{
    bool (*Insert)(void* set, const void* element); // false when it was there
    void (*Construct)(void* set);
    void (*Destruct)(void* set);
    ssize_t (*Count)(const void* set);
    void (*ForEach)(const void* set, EntryVisitor visitor, void* context); // in order; payload is null
};

// One word: which of the two it is follows from the byte code that it goes with.
struct PtrMapOrSetFns
{
    union
    {
        const MapFns* mapFns;
        const SetFns* setFns;
    };
};
static_assert(sizeof(PtrMapOrSetFns) == 8);

// A field of a class, or an alternative of a variant, whose name is then the alternative's type name.
struct ReflectedField
{
    ConstStringZ m_name;
    ssize_t m_offset;  // in bytes, from the start of the containing class or variant
    const uint8* m_bc; // resolved against the container's string table, without a map or set function table
};

struct ReflectedModelField
{
    ConstStringZ m_name;
    ssize_t m_offset;
    const uint8* m_bc;
    int64 m_rsn1; // the release that added the field
    int64 m_rsn2; // the release that dropped it; -1 while it is present
    const PtrMapOrSetFns* m_mapOrSetFns;
};

// What holds for a value of a model field beside its type.
struct FieldRule
{
    bool m_isRequired = false;                    // a text must give it
    bool (*m_check)(const void* value) = nullptr; // whether the value is one that the field may have; null: any
};

// A base class, whose instance lies in those of the class: whoever knows an object as one of the base may have it.
struct ReflectedBase
{
    ConstStringZ m_name;
    void* (*m_fromDerived)(void* derived);
};

// What people are told of a type. Nothing that reads, writes or compares looks at it.
struct TypeNotes
{
    ConstStringZ m_doc = nullptr;  // of the type; null for nothing
    ConstStringZ m_file = nullptr; // where its description stands, as the compiler had the name
    int32 m_line = 0;
    // One for each model field, then for each ordinary one, or for each enumerator; null for nothing. Null itself where
    // there is nothing to tell of any.
    const ConstStringZ* m_docs = nullptr;
};

// A class. One with a model lists its model fields, or embeds the model of another class: then m_numModelFields is 0
// and the one record at m_modelFields gives that class's name and its offset. A class without a model has null there.
struct ReflectedClass
{
    uint32 m_flags = 0;
    ConstStringZ m_name = nullptr; // fully qualified, with "::"
    ssize_t m_size = 0;
    const uint8* m_metaData = nullptr;
    const ReflectedField* m_fields = nullptr;
    ssize_t m_numFields = 0;
    const ReflectedModelField* m_modelFields = nullptr;
    ssize_t m_numModelFields = 0;
    const void* m_dependentFields = nullptr; // reserved
    ssize_t m_numDependentFields = 0;
    const void* m_methods = nullptr; // reserved
    ssize_t m_numMethods = 0;
    const ConstStringZ* m_stringTable = nullptr;
    const ConstStringZ* m_interfaces = nullptr; // names of the interfaces that objects of the class implement
    ssize_t m_numInterfaces = 0;
    const void* m_objectFns = nullptr;      // the function table of its objects, null when it has none
    ptr<IObject> (*m_createFn)() = nullptr; // creates an object that nobody owns yet; null when it cannot be created
    const TypeOps* m_ops = nullptr;
    const FieldRule* m_rules = nullptr; // one for each model field; null where there are none
    const ReflectedBase* m_bases = nullptr;
    ssize_t m_numBases = 0;
    const TypeNotes* m_notes = nullptr;

    // Made by registration: finds fields by name. Null before; nothing but speed depends on it.
    mutable const FieldIndex* m_fieldIndex = nullptr;

    // Made by the first visit: where its instances can hold handles (VisitObjectsInClassInstance).
    mutable const HandlePlan* m_handlePlan = nullptr;

    // Made when an instance is first written: its members and their texts.
    mutable const WritePlan* m_writePlan = nullptr;
};

// A variable of a variant begins with the signed 32-bit index of its current alternative; the alternative's value lies
// at that alternative's offset.
struct ReflectedVariant
{
    ConstStringZ m_name = nullptr;
    ssize_t m_size = 0;
    const uint8* m_metaData = nullptr;
    const ReflectedField* m_fields = nullptr;
    ssize_t m_numFields = 0;
    const ConstStringZ* m_stringTable = nullptr;
    const TypeOps* m_ops = nullptr;
    const TypeNotes* m_notes = nullptr;

    // Made by registration: finds alternatives by name. Null before; nothing but speed depends on it.
    mutable const VariantIndex* m_index = nullptr;
};

struct ReflectedEnum
{
    ConstStringZ m_name = nullptr;
    const uint8* m_metaData = nullptr;
    const ConstStringZ* m_stringTable = nullptr;
    int32 m_count = 0;
    const ConstStringZ* m_strings = nullptr; // the enumerators' names
    const int32* m_values = nullptr;         // their values; null when these are 0, 1, 2 ... in order
    const bool* m_enabled = nullptr;
    const TypeNotes* m_notes = nullptr;

    // Made by registration: finds enumerators by name. Null before; nothing but speed depends on it.
    mutable const EnumIndex* m_index = nullptr;

    int32 GetValue(int32 i) const { return m_values != nullptr ? m_values[i] : i; }
};

struct ReflectedTypedef
{
    ConstStringZ m_name = nullptr;
    const uint8* m_bc = nullptr; // the aliased type
    const ConstStringZ* m_stringTable = nullptr;
    const TypeNotes* m_notes = nullptr;
};

struct ReflectedInterface
{
    ConstStringZ m_name = nullptr;
    const uint8* m_metaData = nullptr;
    const ConstStringZ* m_stringTable = nullptr;
};

struct ReflectedReturnType
{
    const uint8* m_bc;
};

struct ReflectedArg
{
    ConstStringZ m_name;
    const uint8* m_bc;
};

// Any function; whoever calls it casts it back by its descriptor.
using FunctionAddress = void (*)();

struct ReflectedGlobalFunction
{
    ConstStringZ m_name = nullptr;
    ReflectedReturnType m_returnType = {};
    const ReflectedArg* m_args = nullptr;
    ssize_t m_numArgs = 0;
    const uint8* m_metaData = nullptr;
    const ConstStringZ* m_stringTable = nullptr;
    FunctionAddress m_address = nullptr;
};

} // namespace kelm
