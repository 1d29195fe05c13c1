// Types are registered by whoever uses them first: of many threads, of several libraries.

#include <kelm/kelm.h>

#include <gtest/gtest.h>

#include <atomic>
#include <dlfcn.h>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace first
{

// Made of each other.
struct Branch;
struct Leaf
{
    std::string name;
    std::map<std::string, std::shared_ptr<Branch>> branches;
};
struct Branch
{
    std::vector<Leaf> leaves;
    double weight = 0;
};

// Made of itself.
struct Chapter
{
    std::string title;
    std::vector<Chapter> chapters;
};
struct Book
{
    std::vector<Chapter> chapters;
};
struct Shelf
{
    std::vector<Book> books;
    std::map<std::string, std::vector<kelm::ptr<kelm::IObject>>> lent;
};

} // namespace first

KELM_DESCRIBE(first::Leaf, name, branches)
KELM_DESCRIBE(first::Branch, leaves, weight)
KELM_DESCRIBE(first::Chapter, title, chapters)
KELM_DESCRIBE(first::Book, chapters)
KELM_DESCRIBE(first::Shelf, books, lent)

namespace kelm
{

namespace
{

// A circle of types may be entered anywhere.
static_assert(!HoldsHandles<first::Book>);
static_assert(!HoldsHandles<std::vector<first::Chapter>>);
static_assert(HoldsHandles<first::Shelf>);

TEST(UsedTypes, MayHoldThoseThatAreMadeOfThemselves)
{
    const auto book = Read<first::Book>("{ chapters = [{ title = \"one\" chapters = [{ title = \"two\" }] }] }");
    EXPECT_EQ(book.chapters[0].chapters[0].title, "two");
}

// Each thread does something else with the types first.
TEST(UsedTypes, AreRegisteredByWhicheverThreadIsFirst)
{
    constexpr int numThreads = 8;
    std::atomic<int> waiting = numThreads;
    std::atomic<int> numGood = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < numThreads; ++i)
        threads.emplace_back(
            [&, i]
            {
                first::Branch branch;
                branch.leaves.resize(2);
                --waiting;
                while (waiting > 0)
                    std::this_thread::yield();
                switch (i % 4)
                {
                case 0: Set(branch, ".weight", 2.5); break;
                case 1: branch = Read<first::Branch>("{ leaves = [{ name = 'a' }, {}] weight = 2.5 }"); break;
                case 2:
                {
                    Scope scope;
                    Evaluate("branch.weight = 2.5", scope.Bind("branch", branch));
                    break;
                }
                default: branch.weight = 2.5; break;
                }
                numGood += Write(branch).find("weight = 2.5") != std::string::npos;
                numGood += Get<double>(branch, ".weight") == 2.5;
                numGood += Get<std::string>(branch, ".leaves[1].name").empty();
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(numGood, 3 * numThreads);
}

#ifdef KELM_TWIN_A // of static libraries each module has a registry of its own
class TwinLibrary
{
public:
    explicit TwinLibrary(const char* path) : m_library(dlopen(path, RTLD_NOW | RTLD_LOCAL))
    {
        EXPECT_NE(m_library, nullptr) << dlerror();
    }

    // Libraries whose types are registered stay.
    std::string Read(const char* text) const
    {
        using ReadTwin = const char* (*)(const char*);
        return m_library != nullptr ? reinterpret_cast<ReadTwin>(dlsym(m_library, "ReadTwin"))(text) : "no library";
    }

private:
    void* m_library;
};

TEST(UsedTypes, AreOneInTwoLibraries)
{
    const TwinLibrary a(KELM_TWIN_A);
    const TwinLibrary b(KELM_TWIN_B);
    const TwinLibrary other(KELM_TWIN_OTHER);
    const std::string ofA = a.Read("{ nodes = [{ number = 3 }] number = 7 }");
    EXPECT_TRUE(ofA.starts_with("Node {")) << ofA;
    EXPECT_EQ(b.Read(ofA.c_str()), ofA);
    EXPECT_EQ(a.Read(ofA.c_str()), ofA);
    EXPECT_NE(other.Read("{ number = 'x' }").find("Another type is registered under the name 'twins::Node'"),
              std::string::npos)
        << other.Read("{}");
}
#endif

} // namespace

} // namespace kelm
