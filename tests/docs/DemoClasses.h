#pragma once

// The classes of the examples in docs/data-sources.md and docs/paths.md, and the blocks of these documents.

#include <klKelmScript/ParseDataSource.h>
#include <klObject/containers/xdynarray.h>
#include <klObject/containers/xmap.h>
#include <klObject/containers/xvariant.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/prefbase.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <compare>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace demo
{

using namespace kelm;

enum class Color : int32
{
    RED = 1,
    GREEN = 5
};

struct Point
{
    int32 x = 0;
    int32 y = 0;

    friend auto operator<=>(const Point&, const Point&) = default;
};

struct Person
{
    xstring name;
    int32 age = 0;
};

using Extent = xvariant<double, Point, xvector<int32>>;

struct Shape
{
    xstring name = "unnamed";
    Color color = Color::RED;
    Point origin;
    int32 corners[3] = {};
    xvector<int32> sizes = {1};
    xvector<xstring> tags;
    xdynarray<int32> samples;
    xmap<xstring, int32> marks;
    xmap<Point, int32> heights;
    xmap<int32, xvector<int32>> rows;
    Extent extent;
    pref<Person> owner;
    ptr<IObject> next;
    bool visible = true;
    int8 small = 0;
    uint16 code = 0;
    float32 weight = 0;
    char letter = 'a';
    char16_t wide = 'a';
    xstring16 title;
    double area = 0;
};

} // namespace demo

KELM_ENUM(demo::Color, KELM_VALUE(RED), KELM_VALUE(GREEN))
KELM_CLASS(demo::Point, KELM_MODEL(x), KELM_MODEL(y))
KELM_CLASS(demo::Person, kelm::Persistable(), KELM_MODEL(name), KELM_MODEL(age))
KELM_VARIANT(demo::Extent, "demo::radius", "demo::box", "demo::steps")
KELM_CLASS(demo::Shape, KELM_MODEL(name), KELM_MODEL(color), KELM_MODEL(origin), KELM_MODEL(corners), KELM_MODEL(sizes),
           KELM_MODEL(tags), KELM_MODEL(samples), KELM_MODEL(marks), KELM_MODEL(heights), KELM_MODEL(rows),
           KELM_MODEL(extent), KELM_MODEL(owner), KELM_MODEL(next), KELM_MODEL(visible), KELM_MODEL(small),
           KELM_MODEL(code), KELM_MODEL(weight), KELM_MODEL(letter), KELM_MODEL(wide), KELM_MODEL(title),
           KELM_FIELD(area))

namespace kelm
{

inline void RegisterDemoClasses()
{
    static const bool s_isRegistered =
        (RegisterTypes<demo::Color, demo::Point, demo::Person, demo::Extent, demo::Shape>(nullptr), true);
    static_cast<void>(s_isRegistered);
}

// A fenced block of a document.
struct DocBlock
{
    int m_line; // of its first line of text
    std::string m_kind;
    std::vector<std::string> m_lines;

    std::string Text() const
    {
        std::string text;
        for (const std::string& line : m_lines)
            text += line + "\n";
        return text;
    }
};

inline std::vector<DocBlock> ReadBlocks(const std::string& document)
{
    std::vector<DocBlock> blocks;
    std::ifstream file(document);
    EXPECT_TRUE(file) << document;
    std::string line;
    bool isInBlock = false;
    for (int number = 1; std::getline(file, line); ++number)
    {
        if (line.compare(0, 3, "```") == 0)
        {
            isInBlock = !isInBlock;
            if (isInBlock)
                blocks.push_back({number + 1, line.substr(3), {}});
        }
        else if (isInBlock)
            blocks.back().m_lines.push_back(line);
    }
    EXPECT_FALSE(isInBlock) << document;
    return blocks;
}

// A line "TEXT  →  RESULT" of a block.
struct DocExample
{
    std::string m_place;
    std::string m_text;
    std::string m_result;
};

// All such lines of the blocks of one kind.
inline std::vector<DocExample> ReadExamples(const std::string& document, const std::string& kind)
{
    static const std::string s_arrow = "→  ";
    std::vector<DocExample> examples;
    for (const DocBlock& block : ReadBlocks(document))
    {
        if (block.m_kind != kind)
            continue;
        int number = block.m_line;
        for (const std::string& line : block.m_lines)
        {
            const std::string place = document + ":" + std::to_string(number++);
            const std::size_t arrow = line.rfind(s_arrow);
            EXPECT_NE(arrow, std::string::npos) << place;
            if (arrow == std::string::npos)
                continue;
            const std::string text = line.substr(0, arrow);
            examples.push_back(
                {place, text.substr(0, text.find_last_not_of(' ') + 1), line.substr(arrow + s_arrow.size())});
        }
    }
    return examples;
}

// What f(), which returns a text, comes to. Errors are placed by their column in a text of which `hidden` bytes are not
// shown.
inline std::string ResultOf(const std::function<std::string()>& f, SubString text, ssize_t hidden)
{
    try
    {
        return f();
    }
    catch (const LexScannerException& e)
    {
        return "error at " + std::to_string(e.m_pos - text.m_p1 - hidden + 1) + ": " + ToStdString(e.m_description);
    }
    catch (const KelmAssertionError& e)
    {
        return "assertion: " + ToStdString(e.m_condition) + " (" + ToStdString(e.m_file) + ")";
    }
}

} // namespace kelm
