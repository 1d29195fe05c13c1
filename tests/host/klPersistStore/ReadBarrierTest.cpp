#include <host/klObject/GraphNode.h>

#include <klPersistStore/ReadBarrier.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace kelm::test
{
namespace
{

struct Read
{
    void* m_address;
    ptr<IObject> m_object;
    ConstStringZ m_name;
};

void LogRead(void* address, ptr<IObject> object, ConstStringZ name, void* context)
{
    static_cast<std::vector<Read>*>(context)->push_back({address, object, name});
}

class ReadBarrier : public ::testing::Test
{
protected:
    ~ReadBarrier() override { SetReadBarrier(nullptr, nullptr); }

    std::vector<Read> m_reads;
};

TEST_F(ReadBarrier, DoesNothingUnlessOneIsInstalled)
{
    DataSourceReadBarrier(nullptr, nullptr, nullptr);
    SetReadBarrier(LogRead, &m_reads);
    SetReadBarrier(nullptr, nullptr);
    DataSourceReadBarrier(nullptr, nullptr, nullptr);
    EXPECT_TRUE(m_reads.empty());
}

TEST_F(ReadBarrier, IsToldAddressObjectAndName)
{
    SetReadBarrier(LogRead, &m_reads);
    const ptr<IObject> object = NewNode();
    DataSourceReadBarrier(&NodeOf(object).m_value, object, "value");
    DataSourceReadBarrier(&NodeOf(object).m_next, object, nullptr);
    ASSERT_EQ(m_reads.size(), 2u);
    EXPECT_EQ(m_reads[0].m_address, &NodeOf(object).m_value);
    EXPECT_EQ(m_reads[0].m_object, object);
    EXPECT_STREQ(m_reads[0].m_name, "value");
    EXPECT_EQ(m_reads[1].m_address, &NodeOf(object).m_next);
    EXPECT_EQ(m_reads[1].m_name, nullptr);
}

TEST_F(ReadBarrier, IsReplacedByTheNextOne)
{
    std::vector<Read> replaced;
    SetReadBarrier(LogRead, &replaced);
    SetReadBarrier(LogRead, &m_reads);
    DataSourceReadBarrier(nullptr, nullptr, nullptr);
    EXPECT_EQ(replaced.size(), 0u);
    EXPECT_EQ(m_reads.size(), 1u);
}

TEST_F(ReadBarrier, PassesOnWhatItThrows)
{
    SetReadBarrier([](void*, ptr<IObject>, ConstStringZ, void*) { throw std::runtime_error("cannot load"); }, nullptr);
    EXPECT_THROW(DataSourceReadBarrier(nullptr, nullptr, nullptr), std::runtime_error);
}

} // namespace
} // namespace kelm::test
