#pragma once

#include <klKelmScript/KSValue.h>
#include <klKelmScript/api.h>
#include <klUtils/BasicSubString.h>

#include <map>
#include <utility>

namespace kelm
{

// The name of a variable: a view into the text that names it, which must outlive the frame.
using Varname = SubString;

// A scope of named values with a link to the enclosing scope. A name is looked up in the innermost frame first and then
// outward, so that an inner variable hides an outer one. The frame owns its values; its parent must outlive it. A frame
// and its chain are used by one thread at a time.
class KLKELMSCRIPT_API KSFrame
{
    struct IsNameLess
    {
        bool operator()(Varname a, Varname b) const { return strcmp(a, b) < 0; }
    };
    using MAP = std::map<Varname, KSValue, IsNameLess>;

public:
    // One variable: its name and its value, which may be read and replaced in place.
    using Var = MAP::value_type;

    // An empty frame inside `parent`, or an outermost one when that is null.
    KSFrame(KSFrame* parent);

    // The variable of that name in this frame, or null. Valid until the frame is destroyed.
    Var* FindLocal(Varname name);

    // The variable of that name in the innermost frame that has it, or null.
    Var* FindLocalOrNonlocal(Varname name);

    // Adds a variable to this frame. Where the name is there already its variable is kept as it is and returned.
    Var* Insert(Varname name, const KSValue& value);

private:
    MAP m_locals;
    KSFrame* m_parent;
};

} // namespace kelm
