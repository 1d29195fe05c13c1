#include <klObject/klObject.h>

#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klObject/types/Registry.h>

#include <support/Expect.h>

#include <gtest/gtest.h>

namespace kelm
{
namespace
{

class RegisterProject : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { Register_Project_klObject(); }
};

TEST_F(RegisterProject, PublishesWhatTheLibraryDescribes)
{
    EXPECT_EQ(TryFindReflectedInterface("kelm::IObject"), &_GetReflected(static_cast<const IObject*>(nullptr)));
    EXPECT_EQ(TryFindReflectedInterface("kelm::IPersistable"),
              &_GetReflected(static_cast<const IPersistable*>(nullptr)));

    const ReflectedTypedef* narrow = TryFindReflectedTypedef("kelm::xstring");
    ASSERT_NE(narrow, nullptr);
    EXPECT_EQ(*narrow->m_bc, FT_STRING8);
    const ReflectedTypedef* wide = TryFindReflectedTypedef("kelm::xstring16");
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(*wide->m_bc, FT_STRING16);

    const ReflectedClass* cursor = TryFindReflectedClass("kelm::ReflectionByteCode");
    ASSERT_EQ(cursor, &_GetReflected(static_cast<const ReflectionByteCode*>(nullptr)));
    EXPECT_EQ(cursor->m_size, 24);
    EXPECT_EQ(cursor->m_numFields, 0);
    EXPECT_EQ(cursor->m_numModelFields, 0);
}

TEST_F(RegisterProject, AgainDoesNothing)
{
    Register_Project_klObject();
    Unregister_Project_klObject();
    EXPECT_NE(TryFindReflectedInterface("kelm::IObject"), nullptr);
    Register_Project_klObject();
}

TEST_F(RegisterProject, ASecondRegistrationOfOneFailsAnAssertion)
{
    EXPECT_TRUE(FailsAssertion(_Register_xstring, "RegisterReflectedTypedef(&s_xstring, s_noTarget) == NSE_OK",
                               "host/klObject/klObject"));
}

} // namespace
} // namespace kelm
