#pragma once

#include <klKelmScript/api.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/text/ExpressionParser.h>
#include <klUtils/xstring.h>

namespace kelm
{

// Paths to fields: from an object to the address and type of the field that a text names.
//
//     .origin.x       .items[3].name       .owner.name (through a reference)       .samples[[7] (a dynamic array)
//
// A step is a dot and the name of a model field, or an index in brackets: one pair for fixed arrays and vectors; two
// opening brackets and one closing for dynamic arrays, which grow to take any index. The walk ends at the first token
// that the position does not accept; what follows is not looked at. An empty path is the object itself, with a null
// byte code.
//
// The address lies inside the object (or one that it references) and is valid as long as that is. Bad paths are
// LexScannerExceptions at the current token; what a description makes impossible (a dropped field, a const field, a
// class without a model, a map) fails an assertion. Arrays grown on the way stay grown.

// A dynamic array that a path makes grow comes to no more than so many octets: an index beyond them is out of range.
// Without end unless set; 0 lets none grow. For all paths of the process; returns what was set before.
KLKELMSCRIPT_API ssize_t SetPathGrowthLimit(ssize_t numOctets);

enum EPathNavigatorMode : int32
{
    PNM_READ_ACCESS = 0, // raises the read barrier before each position is looked at
    PNM_WRITE_ACCESS = 1,
    PNM_SET_INSERT = 2,
    PNM_SET_DELETE = 3,
};

// One walk, done by construction. The parser is not owned and must be bound; it stands where the walk ended, be it with
// an exception.
class KLKELMSCRIPT_API ExpressionPathNavigator
{
public:
    ExpressionPathNavigator(ExpressionParser& parser, ptr<IObject> obj, EPathNavigatorMode mode);

    void NavigateReflectedClassInstance(const ReflectedClass& rc);
    void NavigateReflectedVariable();

    bool ReadAccess() const { return m_mode == PNM_READ_ACCESS; }
    void ReadBarrier() const;
    void* GetFieldAddress() const;
    ReflectionByteCode GetFieldType() const; // the underlying type, which must not be const

    ExpressionParser& m_parser;
    EPathNavigatorMode m_mode;
    ptr<IObject> m_obj;       // the object that owns the position
    ReflectionByteCode m_rbc; // the type at the position
    char* m_data;             // the bytes at the position

private:
    void Walk(const ReflectedClass* rc);
};

// Walks from `obj`, which must not be null, and returns the address reached; `rbc` receives its type as it is declared.
KLKELMSCRIPT_API void* NavigatePathToField(ptr<IObject> obj, ExpressionParser& parser, ReflectionByteCode& rbc,
                                           bool writeAccess);

// The same for a whole text. A bad path gives null, with the written error ("line 1: ...") in `errorMsg` and `rbc` as
// it was; otherwise `errorMsg` is empty.
KLKELMSCRIPT_API void* NavigatePathToField(ptr<IObject> obj, const xstring& path, ReflectionByteCode& rbc,
                                           bool writeAccess, xstring& errorMsg);

// Publishes the text form as the reflected global function "kelm::NavigatePathToField".
KLKELMSCRIPT_API void _Register_NavigatePathToField();

} // namespace kelm
