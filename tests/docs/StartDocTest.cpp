// The mistakes of the first page: what the program prints is what the page shows.

#include <kelm/kelm.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

struct Line
{
    std::string item;
    int quantity = 1;
    double price = 0;
};
struct Order
{
    std::string customer;
    std::vector<Line> lines;
    std::optional<double> discount;
};

KELM_DESCRIBE(Line, item, quantity, price)
KELM_DESCRIBE(Order, customer, lines, discount)

namespace
{

// The block of indented lines that begins with that line, without the indentation.
std::string BlockOf(const std::string& page, const std::string& first)
{
    constexpr std::size_t indentation = 4;
    std::istringstream lines(page.substr(page.find("\n    " + first) + 1));
    std::string block;
    for (std::string line; std::getline(lines, line) && line.starts_with("    ");)
        block += line.substr(indentation) + "\n";
    return block;
}

std::string Replace(std::string text, const std::string& from, const std::string& to)
{
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at != std::string::npos ? text.replace(at, from.size(), to) : text;
}

TEST(FirstPage, ShowsWhatMistakesPrint)
{
    std::ifstream file(std::string(KELM_DOCS_DIR) + "/start.md");
    std::stringstream page;
    page << file.rdbuf();
    const std::string data = BlockOf(page.str(), "Order {");
    ASSERT_NE(data, "");

    const kelm::TemporaryFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.GetPath());
    const struct
    {
        const char* m_written;
        const char* m_column;
    } rows[] = {{"quantity = \"three\"", "35"}, {"quantty = 3", "24"}};
    for (const auto& row : rows)
    {
        std::ofstream("order.kds") << Replace(data, "quantity = 1", row.m_written);
        const std::string what = kelm::TryReadFile<Order>("order.kds").GetError().what();
        const std::string shown = BlockOf(page.str(), std::string("order.kds:4:") + row.m_column);
        EXPECT_EQ(what + "\n", shown);
    }
    std::filesystem::current_path(before);
}

} // namespace
