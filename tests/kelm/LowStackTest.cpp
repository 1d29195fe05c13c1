// Reading and writing where the stack ends in the midst of it, wherever that is.

#include <kelm/kelm.h>

#include <klUtils/xvector.h>
#include <support/DeepStack.h>

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace low
{

struct Leaf
{
    int number = 1;
    std::vector<std::string> names;
};

struct Tree
{
    kelm::xvector<kelm::xvector<kelm::xvector<kelm::int32>>> ours;
    std::vector<std::vector<std::vector<std::string>>> theirs;
    std::vector<std::vector<Leaf>> leaves;
    std::map<std::string, std::map<std::string, std::vector<Leaf>>> maps;
    std::vector<std::optional<std::vector<int>>> maybe;
};

} // namespace low

KELM_DESCRIBE(low::Leaf, number, names)
KELM_DESCRIBE(low::Tree, ours, theirs, leaves, maps, maybe)

namespace kelm
{
namespace
{

constexpr char s_tree[] = "{ ours = [[[1, 2], []], [], [[3]]]\n"
                          "  theirs = [[['a', 'b'], []], [['c']]]\n"
                          "  leaves = [[{ number = 2 names = ['x'] }, {}], [Leaf { names = [] }]]\n"
                          "  maps = ['k' -> ['l' -> [{ number = 3 }], 'm' -> []], 'n' -> []]\n"
                          "  maybe = [[1, 2], null, []] }";

TEST(LowStack, ChangesNothingThatIsReadAndWritten)
{
    const std::string expected = Write(Read<low::Tree>(s_tree));
    const std::string refused = TryRead<low::Tree>(std::string(s_tree) + "]").GetError().what();
    constexpr std::size_t most = std::size_t(24) << 10; // of frames between the first check and the last
    for (std::size_t left = GetStackReserve(); left < GetStackReserve() + most; left += 96)
        RunOnThread(std::size_t(2) << 20, // of which a sanitizer may take most of the first half
                    [&]
                    {
                        WithStackLeft(
                            left,
                            [&]
                            {
                                EXPECT_EQ(Write(Read<low::Tree>(s_tree)), expected) << left;
                                EXPECT_EQ(TryRead<low::Tree>(std::string(s_tree) + "]").GetError().what(), refused)
                                    << left;
                            });
                    });
}

} // namespace
} // namespace kelm
