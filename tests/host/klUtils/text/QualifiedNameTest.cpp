#include <klUtils/text/QualifiedName.h>

#include <gtest/gtest.h>

namespace kelm
{

TEST(QualifiedName, IsMadeOfIdentifiersWithColonsBetweenThem)
{
    const struct
    {
        SubString m_name;
        ENameFault m_fault;
        bool m_isIdentifier;
    } rows[] = {
        {"a", NAME_OK, true},
        {"_Z9", NAME_OK, true},
        {"a::b2::_c", NAME_OK, false},
        {SubString(), NAME_LACKS_IDENTIFIER, false},
        {"", NAME_LACKS_IDENTIFIER, false},
        {"9a", NAME_LACKS_IDENTIFIER, false},
        {"a::", NAME_LACKS_IDENTIFIER, false},
        {"::a", NAME_LACKS_IDENTIFIER, false},
        {"a::::b", NAME_LACKS_IDENTIFIER, false},
        {"a:", NAME_LACKS_COLONS, false},
        {"a:b", NAME_LACKS_COLONS, false},
        {"a.b", NAME_LACKS_COLONS, false},
        {"a<b>", NAME_LACKS_COLONS, false},
        {"a ", NAME_LACKS_COLONS, false},
        {"\xC3\xA4", NAME_LACKS_IDENTIFIER, false},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.m_name.data() != nullptr ? row.m_name.data() : "null");
        EXPECT_EQ(FindNameFault(row.m_name), row.m_fault);
        EXPECT_EQ(IsQualifiedName(row.m_name), row.m_fault == NAME_OK);
        EXPECT_EQ(IsIdentifier(row.m_name), row.m_isIdentifier);
    }
}

TEST(QualifiedName, EndsBeforeTheTextDoes)
{
    constexpr char text[] = "a::b::c";
    static_assert(IsQualifiedName({text, text + 4}));
    static_assert(!IsQualifiedName({text, text + 2}));
    EXPECT_EQ(SkipIdentifier({text, text + 7}), text + 1);
}

TEST(QualifiedName, IsMatchedByWholeIdentifiersFromTheEnd)
{
    EXPECT_TRUE(IsNameSuffix("a::bc", "a::bc"));
    EXPECT_TRUE(IsNameSuffix("a::bc", "bc"));
    EXPECT_FALSE(IsNameSuffix("a::bc", "c"));
    EXPECT_FALSE(IsNameSuffix("a::bc", "a"));
    EXPECT_FALSE(IsNameSuffix("bc", "a::bc"));
}

} // namespace kelm
