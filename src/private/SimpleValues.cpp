#include <klKelmScript/private/SimpleValues.h>

#include <klUtils/KelmAssertionError.h>
#include <klUtils/Utf16FromUtf8.h>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "src/ParseDataSource";

} // namespace

void ReadText16(text::Cursor& cursor, xstring16& dst)
{
    xstring src;
    text::ReadString(cursor, src);
    if (!Utf16FromUtf8(dst, src.data(), src.size()))
        ThrowKelmAssertionError("Utf16FromUtf8(dst,src)", s_sourceFile, __LINE__);
}

constinit const std::array<SimpleElementsRead, FT_STRING16 + 1> s_simpleElementsReads =
    MakeSimpleReads<SimpleElementsRead>([](auto type) -> SimpleElementsRead { return ReadElementsOf<decltype(type)>; },
                                        nullptr);

} // namespace kelm
