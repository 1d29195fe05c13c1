#include <klKelmScript/KSFrame.h>

#include "Operands.h"

#include <support/Script.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace kelm
{
namespace
{

std::string ValueOf(const KSFrame::Var* var)
{
    return var != nullptr ? ToStdString(var->first) + " = " + KindAndValue(var->second) : "nothing";
}

TEST(Frame, IsEmptyAtFirst)
{
    KSFrame outer(nullptr);
    KSFrame inner(&outer);
    EXPECT_EQ(outer.FindLocal("x"), nullptr);
    EXPECT_EQ(outer.FindLocalOrNonlocal("x"), nullptr);
    EXPECT_EQ(inner.FindLocal("x"), nullptr);
    EXPECT_EQ(inner.FindLocalOrNonlocal("x"), nullptr);
}

TEST(Frame, FindsTheInnermostVariable)
{
    KSFrame outer(nullptr);
    KSFrame inner(&outer);
    outer.Insert("x", I(1));
    inner.Insert("x", I(2));
    EXPECT_EQ(ValueOf(inner.FindLocalOrNonlocal("x")), "x = int64 2");
    EXPECT_EQ(ValueOf(inner.FindLocal("x")), "x = int64 2");
    EXPECT_EQ(ValueOf(outer.FindLocal("x")), "x = int64 1");
    EXPECT_EQ(ValueOf(outer.FindLocalOrNonlocal("x")), "x = int64 1");
}

TEST(Frame, LooksThroughAllItsParents)
{
    KSFrame grandparent(nullptr);
    KSFrame parent(&grandparent);
    KSFrame child(&parent);
    KSFrame::Var* const var = grandparent.Insert("x", S("far"));
    parent.Insert("y", S("near"));
    EXPECT_EQ(child.FindLocalOrNonlocal("x"), var);
    EXPECT_EQ(ValueOf(child.FindLocalOrNonlocal("y")), "y = string near");
    EXPECT_EQ(child.FindLocal("x"), nullptr);
    EXPECT_EQ(child.FindLocal("y"), nullptr);
    EXPECT_EQ(grandparent.FindLocalOrNonlocal("y"), nullptr); // never inward
}

TEST(Frame, ComparesNamesByTheirCharacters)
{
    const std::string text = "abc", sameText = "abc", beginning = "ab";
    KSFrame frame(nullptr);
    frame.Insert(ViewOf(text), I(1));
    EXPECT_EQ(ValueOf(frame.FindLocal(ViewOf(sameText))), "abc = int64 1");
    EXPECT_EQ(frame.FindLocal(ViewOf(beginning)), nullptr);
    EXPECT_EQ(frame.FindLocal("abcd"), nullptr);
    EXPECT_EQ(frame.FindLocal("ABC"), nullptr);
    EXPECT_EQ(frame.FindLocal(SubString()), nullptr);

    KSFrame other(nullptr);
    other.Insert(ViewOf(beginning), I(2));
    EXPECT_EQ(other.FindLocal(ViewOf(text)), nullptr);
}

TEST(Frame, GivesTheEntryItselfWhichStaysValid)
{
    KSFrame frame(nullptr);
    KSFrame::Var* const x = frame.Insert("x", I(1));
    for (const char* name : {"a", "m", "w", "y", "z"})
        frame.Insert(name, V());
    EXPECT_EQ(frame.FindLocal("x"), x);
    x->second = S("replaced");
    EXPECT_EQ(ValueOf(frame.FindLocal("x")), "x = string replaced");
}

TEST(Frame, KeepsTheVariableThatIsThereAlready)
{
    KSFrame frame(nullptr);
    KSFrame::Var* const first = frame.Insert("x", I(1));
    EXPECT_EQ(frame.Insert("x", I(2)), first);
    EXPECT_EQ(ValueOf(first), "x = int64 1");
}

TEST(Frame, FindsThroughAVeryLongChain)
{
    std::vector<std::unique_ptr<KSFrame>> frames;
    frames.push_back(std::make_unique<KSFrame>(nullptr));
    frames.front()->Insert("x", I(1));
    for (int i = 0; i < 1000000; ++i)
        frames.push_back(std::make_unique<KSFrame>(frames.back().get()));
    EXPECT_EQ(ValueOf(frames.back()->FindLocalOrNonlocal("x")), "x = int64 1");
    EXPECT_EQ(frames.back()->FindLocalOrNonlocal("y"), nullptr);
}

} // namespace
} // namespace kelm
