// Collections while data sources are being read, and handles to objects whose classes texts have named.

#include "DataSources.h"

#include <klObject/describe/Describe.h>
#include <klObject/objects/Collector.h>
#include <klObject/objects/prefbase.h>

#include <string>

namespace collecting
{

// Collects whenever one is made, and tells by its values whether it is whole.
struct Leaf
{
    Leaf()
    {
        kelm::CollectGarbage();
        ++s_live;
    }
    ~Leaf() { --s_live; }

    kelm::xstring name = "a name that does not fit into the string itself";

    static inline int s_live = 0;
};

struct Tree
{
    Tree() { kelm::CollectGarbage(); }

    kelm::xvector<kelm::ptr<kelm::IObject>> kids;
    kelm::xmap<kelm::int32, kelm::ptr<kelm::IObject>> named;
    kelm::xvariant<kelm::int64, kelm::ptr<kelm::IObject>, kelm::xvector<kelm::ptr<kelm::IObject>>> choice;
    kelm::pref<Tree> other;
    kelm::ptr<kelm::IObject> last;
};

struct Stranger
{
    kelm::int32 number = 0;
};

using Choice = decltype(Tree::choice);

} // namespace collecting

KELM_CLASS(collecting::Leaf, kelm::Persistable(), KELM_MODEL(name))
KELM_VARIANT(collecting::Choice, "number", "object", "objects")
KELM_CLASS(collecting::Tree, kelm::Persistable(), KELM_MODEL(kids), KELM_MODEL(named), KELM_MODEL(choice),
           KELM_MODEL(other), KELM_MODEL(last))
KELM_CLASS(collecting::Stranger, kelm::Persistable(), KELM_MODEL(number))

namespace kelm
{
namespace
{

class CollectionWhileReading : public HandmadeTest
{
protected:
    CollectionWhileReading()
    {
        static const bool s_once =
            (RegisterTypes<collecting::Leaf, collecting::Choice, collecting::Tree, collecting::Stranger>(nullptr),
             true);
        static_cast<void>(s_once);
        CollectGarbage();
    }
    ~CollectionWhileReading() override
    {
        CollectGarbage();
        EXPECT_EQ(collecting::Leaf::s_live, 0);
    }

private:
    ExpectedLeaks m_leaks; // alternatives that are replaced
};

struct Row
{
    const char* m_text;
    int m_leaves; // that the object holds
};

const Row s_rows[] = {
    {"{ last = collecting.Leaf }", 1},
    {"{ kids = [collecting.Leaf, collecting.Leaf { name = 'x' }, collecting.Leaf] last = collecting.Leaf }", 4},
    {"{ named = [1 -> collecting.Leaf, 2 -> collecting.Leaf] last = collecting.Leaf }", 3},
    {"{ choice = object collecting.Leaf last = collecting.Leaf }", 2},
    {"{ choice = objects [collecting.Leaf, collecting.Leaf] choice = number 1 last = collecting.Leaf }", 1},
    {"{ other = collecting.Tree { other = collecting.Tree { last = collecting.Leaf } last = collecting.Leaf } }", 2},
    {"([collecting.Leaf], [1 -> collecting.Leaf], number 1, collecting.Tree, collecting.Leaf)", 3},
};

TEST_F(CollectionWhileReading, FreesNothingThatIsBeingRead)
{
    for (const Row& row : s_rows)
    {
        xstring error;
        const xstring text(("collecting.Tree" + std::string(row.m_text)).c_str());
        const GcRoot root(ParseDataSourceFromString(text, error));
        ASSERT_EQ(error, "") << row.m_text;
        CollectGarbage();
        EXPECT_EQ(collecting::Leaf::s_live, row.m_leaves) << row.m_text;
    }
}

// The variable that is read into belongs to nobody that the collector knows.
TEST_F(CollectionWhileReading, KeepsWhatAVariableOfTheProgramsHolds)
{
    for (const Row& row : s_rows)
    {
        collecting::Tree tree;
        const xstring text(row.m_text);
        ExpressionParser parser;
        parser.Init(text);
        ParseClassVariable(parser, _GetReflected(&tree), &tree);
        EXPECT_GE(collecting::Leaf::s_live, row.m_leaves) << row.m_text;
        for (const ptr<IObject>& kid : tree.kids)
            EXPECT_FALSE(CastObject<collecting::Leaf>(kid)->name.empty());
    }
}

TEST_F(CollectionWhileReading, FreesWhatAFailedReadHasMade)
{
    for (const Row& row : s_rows)
    {
        const std::string whole = std::string("collecting.Tree") + row.m_text;
        for (std::size_t length = 0; length < whole.size(); ++length)
        {
            const xstring text(whole.data(), static_cast<ssize_t>(length));
            xstring error;
            const bool isRead = static_cast<bool>(ParseDataSourceFromString(text, error));
            EXPECT_EQ(isRead, error.empty()) << text.c_str();
            CollectGarbage();
            EXPECT_EQ(collecting::Leaf::s_live, 0) << text.c_str();
        }
    }
}

TEST_F(CollectionWhileReading, LeavesAClassThatATextNamesToBeLookedAt)
{
    xstring error;
    const GcRoot root(ParseDataSourceFromString("collecting.Tree { other = collecting.Stranger }", error));
    ASSERT_EQ(error, "");
    const auto& tree = *CastObject<collecting::Tree>(root.get());
    EXPECT_EQ(tree.other.TryGet(), nullptr);
    EXPECT_TRUE(FailsAssertion([&] { tree.other->last = nullptr; },
                               "the object is a collecting::Stranger, no collecting::Tree",
                               "host/klObject/objects/CastObject"));
}

} // namespace
} // namespace kelm
