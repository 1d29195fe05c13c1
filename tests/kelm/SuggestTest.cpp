#include <kelm/private/errors/Suggest.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace kelm
{

namespace
{

// The whole table, by the definition.
std::size_t DistanceOf(const std::string& a, const std::string& b)
{
    std::vector<std::vector<std::size_t>> table(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i)
        for (std::size_t j = 0; j <= b.size(); ++j)
        {
            if (i == 0 || j == 0)
            {
                table[i][j] = i + j;
                continue;
            }
            const auto isSame = [&](std::size_t m, std::size_t n) { return std::tolower(a[m]) == std::tolower(b[n]); };
            table[i][j] = std::min(
                {table[i - 1][j - 1] + (isSame(i - 1, j - 1) ? 0 : 1), table[i - 1][j] + 1, table[i][j - 1] + 1});
            if (i > 1 && j > 1 && isSame(i - 1, j - 2) && isSame(i - 2, j - 1))
                table[i][j] = std::min(table[i][j], table[i - 2][j - 2] + 1);
        }
    return table[a.size()][b.size()];
}

TEST(EditDistance, IsTheOneOfTheWholeTableUpToALimit)
{
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i)
    {
        const auto text = [&]
        {
            std::string letters(random() % 12, ' ');
            for (char& c : letters)
                c = "abAc"[random() % 4];
            return letters;
        };
        const std::string a = text();
        const std::string b = text();
        const std::size_t distance = DistanceOf(a, b);
        for (std::size_t limit = 0; limit < 13; ++limit)
            EXPECT_EQ(EditDistance(a, b, limit), distance <= limit ? std::optional(distance) : std::nullopt)
                << a << " " << b << " " << limit;
    }
}

// Long names beside many: each was compared in whole, twice.
TEST(NearestNames, AreFoundAmongManyThatAreLong)
{
    std::mt19937 random(1);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < 1000; ++i)
    {
        std::string name(i % 2 == 0 ? 20 : 8192, ' ');
        for (char& c : name)
            c = static_cast<char>('a' + random() % 26);
        names.push_back(name);
    }
    std::string wanted = names[7];
    std::swap(wanted[100], wanted[101]);
    wanted[8000] = '_';
    EXPECT_EQ(NearestNames(wanted, names), std::vector<std::string>{names[7]});
}

TEST(NearestNames, AreThreeAtMost)
{
    EXPECT_EQ(NearestNames("colur", {"colour", "Color", "a::colours", "collar", "b"}),
              (std::vector<std::string>{"Color", "colour", "a::colours"}));
    EXPECT_THAT(NearestNames("x::Shape", {"y::Shape", "Shade", "Sharp"}), ::testing::ElementsAre("y::Shape", "Shade"));
    EXPECT_THAT(NearestNames("zebra", {"colour"}), ::testing::IsEmpty());
    EXPECT_THAT(NearestNames("", {"", "a"}), ::testing::ElementsAre(""));
}

} // namespace

} // namespace kelm
