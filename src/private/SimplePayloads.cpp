#include <klKelmScript/private/SimplePayloads.h>

#include <klKelmScript/private/SimpleValues.h>

namespace kelm
{

namespace
{

template <class Type>
text::Place TryReadPayloadBehind(text::Cursor& home, SubString op, const NewEntry& entry)
{
    text::FastCursor cursor(home, op);
    return Type::TryRead(cursor, [&entry] { return entry.Insert(); }) ? cursor.GetPlace() : text::Place();
}

constexpr auto s_reads = MakeSimpleReads<SimplePayloadRead>(
    [](auto type) -> SimplePayloadRead { return TryReadPayloadBehind<decltype(type)>; }, nullptr);

} // namespace

SimplePayloadRead GetSimplePayloadRead(ETypeByteCode code)
{
    return IsSimple(code) ? s_reads[static_cast<std::size_t>(code)] : nullptr;
}

} // namespace kelm
