#pragma once

#include <klUtils/text/ParserBase.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>

namespace kelm
{

// Typed reads of single values. Each reads one value that starts at the current token and leaves the current token on
// the first one after it. Failure is a LexScannerException at the token that is wrong: "Expected int8 when read " +
// token where no value of the type stands, "Value 300 is out of range of int8" where it does not fit.
//
// - bool: true or false.
// - Integers: an optional sign where the type has one, then a decimal or hexadecimal literal; the whole range of the
//   type, and nothing outside it.
// - Floats: an optional sign, then a float or integer literal, inf or nan. float32 takes the nearest value; what lies
//   beyond its range is refused.
// - Characters: a quoted literal of either kind that holds one byte.
// - Strings: a quoted literal of either kind.
//
// The flag is reserved for the host; every caller passes false.
class KLUTILS_API ExpressionParser : public ParserBase
{
public:
    bool ParseBool(bool flag);
    int8 ParseInt8(bool flag);
    int16 ParseInt16(bool flag);
    int32 ParseInt32(bool flag);
    int64 ParseInt64(bool flag);
    uint8 ParseUInt8(bool flag);
    uint16 ParseUInt16(bool flag);
    uint32 ParseUInt32(bool flag);
    uint64 ParseUInt64(bool flag);
    float32 ParseFloat32(bool flag);
    float64 ParseFloat64(bool flag);
    xchar ParseChar(bool flag);
    xstring ParseString(bool flag);

    // Where the current token stands in a file. The stream knows neither a file nor where its text begins: false, with
    // both as they were.
    bool GetFilenameAndLineNumberAtCurrentPosition(xstring& filename, ssize_t& lineNumber) const;
};

} // namespace kelm
