// Where reading goes on behind errors: which errors a text has, where, and at which token.

#include <klKelmScript/private/ReadingErrors.h>

#include <klKelmScript/klKelmScript.h>
#include <klObject/containers/xmap.h>
#include <klObject/describe/Describe.h>
#include <klObject/describe/TypeOf.h>
#include <klObject/objects/Collector.h>
#include <klUtils/xvector.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <string>

namespace goingon
{

struct Part
{
    int x = 0;
    int y = 0;
};

struct Whole
{
    int a = 0;
    int b = 0;
    Part part;
    int fixed[3] = {};
    kelm::xvector<int> list;
    kelm::xvector<Part> parts;
    kelm::xmap<int, Part> map;
    kelm::ptr<kelm::IObject> next;
};

} // namespace goingon

KELM_CLASS(goingon::Part, KELM_MODEL(x), KELM_MODEL(y))
KELM_CLASS(goingon::Whole, KELM_MODEL(a), KELM_MODEL(b), KELM_MODEL(part), KELM_MODEL(fixed), KELM_MODEL(list),
           KELM_MODEL(parts), KELM_MODEL(map), KELM_MODEL(next))

namespace kelm
{
namespace
{

const std::string s_begin = "goingon.Whole { ";

// Each with its place and its token.
std::string ErrorsOf(const std::string& body)
{
    const std::string text = s_begin + body + " }";
    Register_Project_klKelmScript();
    EnsureRegistered<goingon::Whole>();
    ptr<IObject> object;
    SubString rest;
    std::string told;
    const SubString view = ViewOf(text);
    for (const ReadingError& error : ReadAllErrors(view, 100, object, rest))
        told += (told.empty() ? "" : "; ") + error.m_message + " @" +
                std::to_string(error.m_place - view.m_p1 - static_cast<ssize_t>(s_begin.size())) + " `" +
                ToStdString(error.m_token) + "`";
    object = nullptr;
    CollectGarbage();
    return told;
}

struct ErrorsRow
{
    const char* m_body;
    const char* m_errors; // places are in the body
};

TEST(ReadingErrors, AreEachToldWhereTheyAre)
{
    const ErrorsRow rows[] = {
        {"a = x b = 'y' part = 5",
         "Expected int32 when read x @4 `x`; Expected int32 when read 'y' @10 `'y'`; Expected { when read 5 @21 `5`"},
        {"list = [1 -2, x]", "Expected , when read - @10 `-`; Expected int32 when read x @14 `x`"},
        {"list = [1 +2, x]", "Expected , when read + @10 `+`; Expected int32 when read x @14 `x`"},
        {"list = [1 2 3, x]",
         "Expected , when read 2 @10 `2`; Expected , when read 3 @12 `3`; Expected int32 when read x @15 `x`"},
        {"list = [1 (2), x]", "Expected , when read ( @10 `(`; Expected int32 when read x @15 `x`"},
        {"list = [1 .a, x]", "Expected , when read . @10 `.`; Expected int32 when read x @14 `x`"},
        {"parts = [{ x = 1 } { x = q }, { y = q }]",
         "Expected , when read { @19 `{`; Expected int32 when read q @25 `q`; Expected int32 when read q @36 `q`"},
        {"fixed = [1, x, 3] a = x", "Expected int32 when read x @12 `x`; Expected int32 when read x @22 `x`"},
        {"fixed = [x, 2] a = x", "Expected int32 when read x @9 `x`; Expected int32 when read x @19 `x`"},
        {"fixed = [1, x, 3, 4, y] a = x",
         "Expected int32 when read x @12 `x`; Expected int32 when read y @21 `y`; Expected int32 when read x @28 `x`"},
        {"fixed = [x, (1, 2), y, z] a = x",
         "Expected int32 when read x @9 `x`; Expected int32 when read ( @12 `(`; Expected int32 when read y @20 `y`; "
         "Expected int32 when read z @23 `z`; Expected int32 when read x @30 `x`"},
        {"fixed = [[1, 2], y, z] a = x", "Expected int32 when read [ @9 `[`; Expected int32 when read y @17 `y`; "
                                         "Expected int32 when read z @20 `z`; Expected int32 when read x @27 `x`"},
        {"fixed = [1, 2, 3, 4] a = x", "Expected ] when read , @16 `,`; Expected int32 when read x @25 `x`"},
        {"map = [1 -> { x = 1 } 2 -> { x = q }] a = x",
         "Expected , when read 2 @22 `2`; Expected int32 when read q @33 `q`; Expected int32 when read x @42 `x`"},
        {"map = [1 -> {} 2, 3 -> { x = q }] a = x",
         "Expected , when read 2 @15 `2`; Expected int32 when read q @29 `q`; Expected int32 when read x @38 `x`"},
        {"map = [1 -> {} (2 -> 3), 3 -> { x = q }] a = x",
         "Expected , when read ( @15 `(`; Expected { when read 3 @21 `3`; Expected int32 when read q @36 `q`; Expected "
         "int32 when read x @45 `x`"},
        {"map = [1 -> {} 2 a = x", "Expected , when read 2 @15 `2`"},
        {"map = [1 {}, 3 -> { x = q }] a = x",
         "Expected -> when read { @9 `{`; Expected int32 when read q @24 `q`; Expected int32 when read x @33 `x`"},
        {"a = # b = x", "Expected int32 when read # @4 `#`; Expected int32 when read x @10 `x`"},
        {"a = 1 # b = x\n# c\n b = y", "Expected identifier when read # @6 `#`; Expected int32 when read x @12 `x`; "
                                       "Expected int32 when read y @23 `y`"},
        {"nosuch = 1 a = x",
         "Unknown member 'nosuch' of class goingon::Whole @7 `nosuch`; Expected int32 when read x @15 `x`"},
        {"nosuch = { q = [1, (2)] } a = x",
         "Unknown member 'nosuch' of class goingon::Whole @7 `nosuch`; Expected int32 when read x @30 `x`"},
        {"next = no.such.Class { a = 1 } a = x",
         "'no::such::Class' is not a registered class name @21 `no.such.Class`; Expected int32 when read x @35 `x`"},
        {"next = goingon.Part { nosuch = 1 } a = x",
         "Unknown member 'nosuch' of class goingon::Part @29 `nosuch`; Expected int32 when read x @39 `x`"},
        {"part = { x = 1 a = 2 b = x",
         "Unknown member 'a' of class goingon::Part @17 `a`; Expected int32 when read x @25 `x`"},
        {"part = { x = 1 , y = 2 } a = x",
         "Expected identifier when read , @15 `,`; Expected int32 when read x @29 `x`"},
        {"part = { { x = q } a = x", "Expected identifier when read { @9 `{`; Expected int32 when read q @15 `q`; "
                                     "Expected int32 when read x @23 `x`"},
        {"part = (1, q) a = x", "Expected int32 when read q @11 `q`; Expected int32 when read x @18 `x`"},
        {"part = (1) a = x", "Expected , when read ) @9 `)`; Expected int32 when read x @15 `x`"},
        {"part = (1, 2, 3) a = x", "Expected ) when read , @12 `,`; Expected int32 when read x @21 `x`"},
        {"part = ((1, q) a = x",
         "Expected int32 when read ( @8 `(`; Expected int32 when read q @12 `q`; Expected int32 when read x @19 `x`"},
        {"list = [[1, q] a = x",
         "Expected int32 when read [ @8 `[`; Expected int32 when read q @12 `q`; Expected int32 when read x @19 `x`"},
        {"list = 1, q] a = x", "Expected [ when read 1 @7 `1`; Expected int32 when read x @17 `x`"},
        {"list = [1, q a = x", "Expected int32 when read q @11 `q`"},
        {"list = [1, q}] a = x", "Expected int32 when read q @11 `q`; Expected int32 when read x @19 `x`"},
        {"list = [1, q]] a = x", "Expected int32 when read q @11 `q`; Expected int32 when read x @19 `x`"},
        {"list = [1, 2) a = x", "Expected , when read ) @12 `)`; Expected int32 when read x @18 `x`"},
        {"parts = [{ x = 1, y = q }] a = x", "Expected identifier when read , @16 `,`; Expected int32 when read q @22 "
                                             "`q`; Expected int32 when read x @31 `x`"},
        {"parts = [ x = q }, { x = r }] a = x", "Expected goingon::Part when read x @12 `x`; Expected int32 when read "
                                                "r @25 `r`; Expected int32 when read x @34 `x`"},
        {"5 = 1 a = x", "Expected identifier when read 5 @0 `5`; Expected int32 when read x @10 `x`"},
        {", a = x", "Expected identifier when read , @0 `,`; Expected int32 when read x @6 `x`"},
        {"= 5 a = x", "Expected identifier when read = @0 `=`; Expected int32 when read x @8 `x`"},
        {"a 5 b = x", "Expected = when read 5 @2 `5`; Expected int32 when read x @8 `x`"},
        {"a = = 5 b = x", "Expected int32 when read = @4 `=`; Expected int32 when read x @12 `x`"},
        {"a = b = x", "Expected int32 when read b @4 `b`; Expected int32 when read x @8 `x`"},
    };
    for (const ErrorsRow& row : rows)
        EXPECT_EQ(ErrorsOf(row.m_body), row.m_errors) << row.m_body;
}

} // namespace
} // namespace kelm
