#pragma once

#include "../commandline/Options.h"
#include "../reporting/Output.h"
#include "Workspace.h"

#include <kelm/Value.h>
#include <kelm/private/errors/Source.h>
#include <klKelmScript/KSValue.h>
#include <klUtils/ToString.h>
#include <klUtils/text/private/WriteDigits.h>

#include <optional>
#include <string>

namespace kelm::tool
{

// How the values of expressions are written, each on a line.
enum EValueForm
{
    VALUE_PLAIN, // a string as its characters alone, an object as its text; nothing where there is no value
    VALUE_TYPED, // the same behind the name of its kind
    VALUE_JSON,  // an object of value and kind, or of the error
};
EValueForm ValueFormOf(const Options& options);

// "int64" and the like; of an object its type.
std::string KindOf(const Value& value);

// Writes a value that an expression without names has, as VALUE_PLAIN.
inline void PutPlain(const KSValue& value);

// Writes what a text came to, errors included; `index` tells of which element of a list. False where it failed.
bool PutOutcome(const SourceText& source, const Outcome& outcome, EValueForm form,
                std::optional<int64> index = std::nullopt);

// --- The inside

// Of what is no integer, which most are.
void PutOtherPlain(const KSValue& value);

inline void PutPlain(const KSValue& value)
{
    if (value.GetTag() != KSV_INT64) [[unlikely]]
        return PutOtherPlain(value);
    char* end = PutDecimal(RoomInOutput(s_numberRoom + 1), int64(value.as<int64>()));
    *end++ = '\n';
    TakeAsPut(end);
}

} // namespace kelm::tool
