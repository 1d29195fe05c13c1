#pragma once

// A document of EditedTypes.h with a comment at every place where one can stand.

#include <string>
#include <string_view>

namespace kelm
{

// Each with a number.
inline constexpr std::string_view s_commented =
    "@1@ yard @2@ :: @3@ Ship @4@ { @5@ title @6@ = @7@ \"a\" @8@ origin @9@ = @10@ Point @11@ ( @12@ 1 @13@ , @14@ - "
    "@15@ 2 @16@ ) @17@ tags = [ @18@ 1 @19@ , @20@ 2 @21@ ] @22@ counts = [ @23@ \"a\" @24@ -> @25@ 1 @26@ , @27@ "
    "\"b\" -> 2 @28@ ] extent = @29@ radius @30@ 5 @31@ first = @32@ yard @33@ . @34@ Crate @35@ { @36@ } @37@ rows = "
    "[ "
    "[ @38@ ] @39@ ] @40@ } @41@";
inline constexpr int s_numPlaces = 41;

// How a comment may be written there.
struct CommentForm
{
    std::string_view m_before;
    std::string_view m_behind;
};
inline constexpr CommentForm s_commentForms[] = {
    {"/* <", "> */"}, {"// <", ">\n"}, {"\n    // <", ">\n    "}, {"\n# <", ">\n"}, {"\n\n  /* <", ">\n */\n\n"},
};

inline std::string CommentedText(const CommentForm& form)
{
    std::string text(s_commented);
    for (int i = 1; i <= s_numPlaces; ++i)
    {
        const std::string mark = "@" + std::to_string(i) + "@";
        text.replace(text.find(mark), mark.size(),
                     std::string(form.m_before) + std::to_string(i) + std::string(form.m_behind));
    }
    return text;
}

} // namespace kelm
