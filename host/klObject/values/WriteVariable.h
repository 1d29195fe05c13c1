#pragma once

// Writing reflected variables and objects as data source text, so that what is written reads back equal.
//
// Classes are written with the names of their members, objects under the full names of their classes, floats in the
// digits that lose nothing, enumerators by name. Reading starts from what the creation of an object gives and only adds
// to vectors and maps; so what these hold from the start is not written again.
//
// Nothing is written where WriteException is thrown. Some values have no text that would read back; the message says
// where the value lies and why.

#include <klObject/api.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/MessageException.h>
#include <klUtils/xostream.h>

namespace kelm
{

struct WriteOptions
{
    // Columns for each level of nesting, of which deep data have no more than sixteen; 0 puts everything on one line,
    // without spare blanks.
    int m_indent = 0;

    // Vectors and maps are written with what they hold from the start, for a reader that replaces them.
    bool m_isWhole = false;
};

// A value that data source text cannot give:
// - a cycle of objects (an object that is reached twice, but not from within itself, is written twice);
// - an object of a class without a creation function, of the name "null" or not registered;
// - a class of which no field is described, or with a member whose name is no identifier or that of another member;
// - an enumeration's value that is none of its enumerators, or one whose name is no identifier or that of one before;
// - a 16-bit string with a lone surrogate, a 16-bit character that no 8-bit one gives, a 128-bit integer;
// - a null persistent reference or an empty set anywhere but as a class's member, where it is left out, and any set
//   that holds elements;
// - a vector or map that lacks elements which creation gives;
// - an alternative of a variant whose name is not made of identifiers with "::" between them, or reads as another one;
//   one behind an alternative of such a name is refused too, since its name might.
class KLOBJECT_API WriteException : public MessageException
{
public:
    using MessageException::MessageException; // ".items[3].colour: 7 is no value of enum geom::Colour"
    ~WriteException() override;
};

// The value of a variable, as it stands behind a member's "=". A variable read into must be default-constructed.
KLOBJECT_API void WriteVariable(xostream& os, ReflectionByteCode type, const void* data,
                                const WriteOptions& options = {});

// An object with all that it references, as a whole data source; "null" for a null handle.
KLOBJECT_API void WriteObject(xostream& os, ptr<IObject> object, const WriteOptions& options = {});

} // namespace kelm
