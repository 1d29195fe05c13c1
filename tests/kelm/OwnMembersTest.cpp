#include <kelm/Files.h>

#include <support/OwnMembers.h>

#include <gtest/gtest.h>

#include <string>

namespace kelm
{

namespace
{

struct Row
{
    const char* m_text;
    const char* m_expected; // what is written of it; or the place and the message of its error
};

template <class T>
std::string ReadAgain(const char* text, UnknownMembers unknown = UnknownMembers::Refuse)
{
    const auto read = TryRead<T>(text, unknown);
    if (!read)
        return std::to_string(read.GetError().GetColumn()) + ": " + read.GetError().GetMessage();
    std::string written = Write(*read);
    for (std::size_t i = 0; (i = written.find_first_of(" \n", i)) != std::string::npos;)
        written.erase(i, 1);
    return written;
}

TEST(OwnMembers, AreReplacedByWhatATextGives)
{
    Register<own::Person>();
    const Row rows[] = {
        {"{ map = [1 -> [1], 2 -> [2], 1 -> [3]] }",
         "own::Holder{map=[1->[3],2->[2]]choice=int320both=[0,false]cached=0}"},
        {"{ map = [1 -> [1], 1 -> [2, x]] }", "29: Expected int32 when read x"},
        {"{ choice = string 'a' }", "own::Holder{map=[]choice=string\"a\"both=[0,false]cached=0}"},
        {"{ choice = list [1, 2] }", "own::Holder{map=[]choice=list[1,2]both=[0,false]cached=0}"},
        {"{ choice = list [1, x] }", "21: Expected int32 when read x"},
        {"{ choice = text 'a' }", "12: Unknown member 'text' of variant own::Choice"},
        {"{ owner = own.Person { name = 'Ada' } }",
         "own::Holder{map=[]choice=int320owner=own::Person{name=\"Ada\"}both=[0,false]cached=0}"},
        {"{ owner = null }", "11: Expected object when read null"},
        {"{ both = [1, true] cached = 5 }", "own::Holder{map=[]choice=int320both=[1,true]cached=5}"},
        {"{ cached = 1 cached = 2 }", "14: Member 'cached' of class own::Holder is written twice"},
        {"{ cachd = 1 }", "3: Unknown member 'cachd' of class own::Holder"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(ReadAgain<Root<own::Holder>>(row.m_text), row.m_expected) << row.m_text;
}

TEST(OwnMembers, ThatAreUnknownArePassedOverWhole)
{
    const Row rows[] = {
        {"{ cachd = own.Person.Name { a = [1] } cached = 2 }",
         "own::Holder{map=[]choice=int320both=[0,false]cached=2}"},
        {"{ cachd = own.5 cached = 2 }", "own::Holder{map=[]choice=int320both=[0,false]cached=2}"},
        {"{ cachd = own. }", "16: Expected identifier when read }"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(ReadAgain<Root<own::Holder>>(row.m_text, UnknownMembers::PassOver), row.m_expected) << row.m_text;
}

TEST(OwnMembers, AreKnownToBeWrittenHoweverManyThereAre)
{
    const own::Wide wide = Read<own::Wide>("{ m64 = 1 m65 = 2 }");
    EXPECT_EQ(wide.m64, 1);
    EXPECT_EQ(wide.m65, 2);
    const Row rows[] = {
        {"{ m65 = 1 m64 = 2 m65 = 3 }", "19: Member 'm65' of class own::Wide is written twice"},
        {"{ m63 = 1 }", "11: Member 'm65' of class own::Wide is required"},
        {"{ m64 = 1 }", "11: Member 'm65' of class own::Wide is required"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(ReadAgain<own::Wide>(row.m_text), row.m_expected) << row.m_text;
}

} // namespace

} // namespace kelm
