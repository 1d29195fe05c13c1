#include <kelmLanguage/Help.h>

#include "Places.h"

#include <gtest/gtest.h>

namespace kelm::language
{

namespace
{

// "<what is told of> declaration / the rest"; empty for nothing.
std::string HoverIn(const MarkedText& text)
{
    const auto hover = HoverAt(text.m_document, ExampleTypes(), text.m_at);
    if (!hover)
        return {};
    std::string described = hover->m_described.substr(std::string("```cpp\n").size());
    described.replace(described.find("\n```"), 4, "");
    for (std::size_t at = described.find("\n\n"); at != std::string::npos; at = described.find("\n\n"))
        described.replace(at, 2, " / ");
    return "<" + std::string(hover->m_span.In(text.m_document.GetText())) + "> " + described;
}

TEST(Hover, TellsOfNamesAndValues)
{
    const std::pair<std::string, std::string> rows[] = {
        {"garden.Po|int { }",
         "<garden.Point> class garden::Point\n{\n    garden::Metres x = 0.0;\n    garden::Metres y = "
         "0.0;\n};"},
        {"garden.Point { |x = 1 }", "<x> garden::Metres x = 0.0 / Member of `garden::Point`."},
        {"garden.Point { x| = 1 }", "<x> garden::Metres x = 0.0 / Member of `garden::Point`."},
        {"garden.Point { x = |1 }", "<1> garden::Metres x = 0.0 / Member of `garden::Point`."},
        {"garden.Point (1, -2|)", "<-2> garden::Metres y = 0.0 / Member of `garden::Point`."},
        {"garden.Layer { levels = [B|ED] }", "<BED> garden::Level::BED = 50"},
        {"garden.Layer { isVisible = tr|ue }", "<true> bool isVisible = true / Member of `garden::Layer`."},
        {"garden.Shape { outline = Cir|cle(1) }", "<Circle> garden::Circle: garden::Circle / Alternative of "
                                                  "`garden::Outline`."},
        {"garden.Plan { margins| = [1, 2, 3, 4] }", "<margins> float32 margins[4] = [0.0,0.0,0.0,0.0] / Member of "
                                                    "`garden::Plan`."},
        {"garden.Plan { margins = [1|, 2, 3, 4] }", "<1> float32"},
        {"garden.Plan { plants = [\"a|b\" -> {}] }", "<\"ab\"> xstring"},
        {"garden.Plan { | }", ""},
        {"garden.Plan { none| = 1 }", ""},
        {"garden.Plan { /* ti|tle */ }", ""},
        {"|", ""},
        {"garden.Nothing| {}", ""},
    };
    for (const auto& [text, told] : rows)
        EXPECT_EQ(HoverIn(MarkedText(text)), told) << text;
}

TEST(Signature, TellsWhichMemberIsWritten)
{
    const std::pair<std::string, std::string> rows[] = {
        {"garden.Point (|", "garden::Metres x"},
        {"garden.Point (1|, 2)", "garden::Metres x"},
        {"garden.Point (1,| 2)", "garden::Metres y"},
        {"garden.Point (1, 2|)", "garden::Metres y"},
        {"garden.Point (1, 2)|", ""},
        {"garden.Point |(1, 2)", ""},
        {"garden.Point { x = | }", ""},
        {"garden.Layer (\"a\", [BED, |], 1, true)", "xvector<garden::Level> levels"},
        {"garden.Layer (\"a\", [BED], /* | */ 1, true)", "float64 opacity"},
        {"garden.Shape (\"\", BED, (1, |), ", "garden::Metres y"},
        {"garden.Shape (\"\", BED, (1, 2), |", "garden::Outline outline"},
        {"garden.Shape (\"\", BED, { x = | }, ", ""},
        {"garden.Plan { layers = [(\"\"|", "xstring name"},
        {"garden.Nothing (|)", ""},
    };
    for (const auto& [text, told] : rows)
    {
        const MarkedText marked(text);
        const auto signature = SignatureAt(marked.m_document, ExampleTypes(), marked.m_at);
        const std::string active = signature && signature->m_active < signature->m_parts.size()
                                       ? std::string(signature->m_parts[signature->m_active].In(signature->m_label))
                                       : std::string();
        EXPECT_EQ(active, told) << text;
    }
}

} // namespace

} // namespace kelm::language
