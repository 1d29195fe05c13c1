// Members out of order, in classes with few and with many of them: ours against ours. What the objects' destruction
// costs is not measured.

#include "../support/ObjectTexts.h"
#include "../support/ObjectTypes.h"
#include "Rows.h"

#include <memory>

namespace kelm::bench
{

namespace
{

xstring ToXString(const std::string& text)
{
    return xstring(text.data(), static_cast<ssize_t>(text.size()));
}

template <class Objects>
Contender MakeMembers(const char* name, const char* className, long count, int members)
{
    const auto text = std::make_shared<const xstring>(ToXString(MembersText(className, count, members)));
    const auto read = [text] { return Collected(ReadObject(*text)); };
    const auto isRight = [=]
    {
        const Collected collected = read();
        const Objects& objects = collected.As<Objects>();
        return objects.values.size() == count && objects.values.back().m04 == 4;
    };
    return {name, isRight, TimedWithoutCleanUp(read)};
}

Row MakeMembersRow()
{
    constexpr long members = 200'000;
    Row row{"members out of order, class of 5 or of 100", "member", members, {}};
    row.m_contenders = {MakeMembers<sample::Fives>("class of 5", "sample::Fives", members / 5, 5),
                        MakeMembers<sample::Hundreds>("class of 100", "sample::Hundreds", members / 100, 100)};
    return row;
}

} // namespace

std::vector<Row> MakeObjectRows()
{
    RegisterBenchTypes();
    return {MakeMembersRow()};
}

} // namespace kelm::bench
