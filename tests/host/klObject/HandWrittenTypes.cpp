#include <host/klObject/HandWrittenTypes.h>

#include <klObject/types/TypeOps.h>

#include <gtest/gtest.h>

namespace kelm::handwritten
{

namespace
{
constexpr TypeOps s_countedOps = MakeTypeOps<Counted>();
} // namespace

const ReflectedClass s_counted = {.m_name = "handwritten::Counted", .m_size = sizeof(Counted), .m_ops = &s_countedOps};

void RegisterTypes()
{
    static bool s_isDone = false;
    if (s_isDone)
        return;
    s_isDone = true;
    for (const ReflectedClass* rc :
         {&s_point, &s_tagged, &s_node, &s_table, &s_tableless, &s_opaque, &s_empty, &s_counted, &s_mixed})
        ASSERT_EQ(RegisterReflectedClass(rc, nullptr), NSE_OK) << rc->m_name;
    for (const ReflectedVariant* rv : {&s_choice, &s_countedFirst})
        ASSERT_EQ(RegisterReflectedVariant(rv, nullptr), NSE_OK);
    for (const ReflectedEnum* r : {&s_colour, &s_digit})
        ASSERT_EQ(RegisterReflectedEnum(r, nullptr), NSE_OK);
    for (const ReflectedTypedef* r : {&s_constInt, &s_alias, &s_self, &s_setAlias})
        ASSERT_EQ(RegisterReflectedTypedef(r, nullptr), NSE_OK);
}

} // namespace kelm::handwritten
