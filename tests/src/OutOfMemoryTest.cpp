// Every allocation of every operation fails, once and from then on: the operation ends in std::bad_alloc, all objects
// are whole, nothing is lost, and the same operation succeeds afterwards. The same is asked of reading where texts
// fail, at each of their characters. A program of its own, whose operators new and delete fail.

#include "DataSources.h"

#include <klKelmScript/KSFrame.h>
#include <klKelmScript/KSParser.h>
#include <klKelmScript/ParseFieldPath.h>
#include <klKelmScript/klKelmScript.h>
#include <klObject/containers/xdynarray.h>
#include <klObject/containers/xmap.h>
#include <klObject/containers/xset.h>
#include <klObject/containers/xvariant.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/Collector.h>
#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/WriteVariable.h>
#include <klPersistStore/Archive.h>
#include <support/OutOfMemory.h>
#include <support/Script.h>

#include <map>
#include <memory>
#include <new>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

namespace scarce
{

// Registers itself for the tests to look at.
template <class T>
struct Seen
{
    Seen() { s_all.insert(static_cast<const T*>(this)); }
    Seen(const Seen&) : Seen() {}
    Seen& operator=(const Seen&) { return *this; }
    ~Seen() { s_all.erase(static_cast<const T*>(this)); }

    static inline std::set<const T*> s_all;
};

enum class Colour : kelm::int32
{
    RED = 1,
    GREEN = 5,
};

// Needs memory to be made.
struct Large
{
    kelm::xstring name = "a name that does not fit into the string itself";
    kelm::xvector<kelm::int32> numbers;

    friend auto operator<=>(const Large&, const Large&) = default;
};

using Choice = kelm::xvariant<kelm::int64, Large, kelm::xvector<Large>, kelm::ptr<kelm::IObject>>;

// Of our own types.
struct Ours : Seen<Ours>
{
    bool flag = true;
    Colour colour = Colour::GREEN;
    kelm::xstring name;
    kelm::xstring16 wide;
    Large large;
    Choice choice = Large();
    kelm::xvector<Large> list;
    kelm::xvector<kelm::xvector<kelm::xstring>> lists;
    kelm::xvector<Choice> choices;
    kelm::xdynarray<kelm::int32> grown;
    kelm::xmap<kelm::int32, Large> map;
    kelm::xmap<kelm::int32, kelm::xmap<kelm::int32, Choice>> maps;
    Large fixed[2];
    kelm::pref<Ours> other;
    kelm::ptr<kelm::IObject> next;
};

// Of the standard library's.
struct Theirs : Seen<Theirs>
{
    std::string name;
    std::vector<Large> list;
    std::vector<bool> bits;
    std::map<std::string, Large> map;
    std::set<std::string> set;
    std::optional<Large> maybe;
    std::unique_ptr<Large> pointer;
    std::variant<int, Large, std::string> choice = Large();
    std::map<int, std::variant<std::vector<Large>, double>> choices;
    kelm::ptr<kelm::IObject> next;
};

} // namespace scarce

KELM_ENUM(scarce::Colour, KELM_VALUE(RED), KELM_VALUE(GREEN))
KELM_DESCRIBE(scarce::Large, name, numbers)
KELM_VARIANT(scarce::Choice, "number", "large", "list", "object")
KELM_CLASS(scarce::Ours, kelm::Persistable(), KELM_MODEL(flag), KELM_MODEL(colour), KELM_MODEL(name), KELM_MODEL(wide),
           KELM_MODEL(large), KELM_MODEL(choice), KELM_MODEL(list), KELM_MODEL(lists), KELM_MODEL(choices),
           KELM_MODEL(grown), KELM_MODEL(map), KELM_MODEL(maps), KELM_MODEL(fixed), KELM_MODEL(other), KELM_MODEL(next))
KELM_DESCRIBE(scarce::Theirs, name, list, bits, map, set, maybe, pointer, choice, choices, next)

namespace kelm
{
namespace
{

using scarce::Ours;
using scarce::Theirs;

const char* const s_ours =
    "scarce::Ours { flag = false colour = RED name = 'a name that does not fit into the string' wide = 'caf\xC3\xA9' "
    "large = { name = 'short' numbers = [1, 2, 3] } choice = large { name = 'another name that is too long for it' } "
    "list = [{}, { numbers = [1] }, ('x', [2])] lists = [['a', 'b'], [], ['a text that is too long for the string']] "
    "choices = [number 7, large {}, list [{}, {}], object scarce::Ours { name = 'inner' }, object null] "
    "grown = [1, 2, 3] map = [1 -> {}, 2 -> { name = 'x' }, 1 -> { numbers = [4] }] "
    "maps = [1 -> [2 -> number 3, 3 -> large {}], 2 -> []] fixed = [{}, { name = 'y' }] "
    "other = scarce::Ours { name = 'other' } next = scarce::Theirs { name = 'next' next = scarce::Ours } }";

const char* const s_theirs =
    "scarce::Theirs { name = 'a name that does not fit into the string' list = [{}, { name = 'x' }] "
    "bits = [true, false] map = ['a' -> {}, 'a key that does not fit into the string itself' -> { name = 'y' }] "
    "set = ['b', 'an element that does not fit into the string'] maybe = { name = 'z' } pointer = {} "
    "choice = string 'an alternative that does not fit into the string' "
    "choices = [1 -> list [{}, {}], 2 -> float64 1.5] next = scarce::Ours { name = 'last' } }";

void RegisterOnce()
{
    static const bool s_once = []
    {
        Register_Project_klKelmScript();
        EnsureRegistered<scarce::Colour>();
        RegisterTypes<scarce::Choice, Ours>(nullptr);
        EnsureRegistered<Theirs>();
        EnsureRegistered<scarce::Large>();
        return true;
    }();
    static_cast<void>(s_once);
}

// Whether every byte of every object that there is belongs to a valid value: all can be looked at, written and
// compared.
template <class T>
void ExpectWhole(const char* after)
{
    const ReflectionByteCode type = TypeOf<T>();
    for (const T* const object : T::s_all)
    {
        StringStream os(4096);
        try
        {
            WriteVariable(os, type, object);
        }
        catch (const WriteException& e)
        {
            ADD_FAILURE() << e.what() << " after " << after;
        }
        EXPECT_TRUE(CompareEqReflectedVariable(type, object, type, object)) << after;
    }
}

void ExpectAllWhole(const char* after)
{
    ExpectWhole<Ours>(after);
    ExpectWhole<Theirs>(after);
    CollectGarbage();
    EXPECT_TRUE(Ours::s_all.empty()) << after;
    EXPECT_TRUE(Theirs::s_all.empty()) << after;
    EXPECT_EQ(GetGcCounts().m_live, 0) << after;
}

class Scarce : public testing::Test
{
protected:
    Scarce()
    {
        RegisterOnce();
        CollectGarbage();
    }

private:
    ExpectedLeaks m_leaks; // alternatives that are replaced
};

TEST_F(Scarce, TextsThatEndAnywhereLeaveWholeObjects)
{
    for (const std::string whole : {s_ours, s_theirs})
        for (std::size_t size = 0; size <= whole.size(); ++size)
        {
            const xstring text(whole.data(), static_cast<ssize_t>(size));
            xstring error;
            bool isRead = false;
            try
            {
                isRead = static_cast<bool>(ParseDataSourceFromString(text, error));
            }
            catch (const KelmAssertionError& e)
            {
                EXPECT_EQ(e.m_condition, "Utf16FromUtf8(dst,src)"); // half a character
            }
            EXPECT_TRUE(!isRead || error.empty()) << text.c_str();
            EXPECT_TRUE(isRead || size < whole.size()) << error.c_str();
            ExpectAllWhole(text.c_str());
        }
}

TEST_F(Scarce, TextsThatAreWrongAnywhereLeaveWholeObjects)
{
    for (const std::string whole : {s_ours, s_theirs})
        for (std::size_t at = 0; at < whole.size(); ++at)
            for (const char wrong : {'#', '}', ']', '1'})
            {
                std::string damaged = whole;
                damaged[at] = wrong;
                const xstring text(damaged.c_str());
                xstring error;
                try
                {
                    ParseDataSourceFromString(text, error);
                }
                catch (const KelmAssertionError& e)
                {
                    EXPECT_EQ(e.m_condition, "Utf16FromUtf8(dst,src)");
                }
                ExpectAllWhole(text.c_str());
            }
}

// An operation, and what tells of its outcome.
struct Operation
{
    const char* m_name;
    std::string (*m_run)();
};

std::string Evaluate(const char* text)
{
    return OutcomeOfText(text);
}

std::string ReadText(const char* text)
{
    xstring error;
    const GcRoot root(ParseDataSourceFromString(text, error));
    return root.get() ? "read" : error.c_str();
}

std::string WriteText(const char* text, int indent)
{
    xstring error;
    const GcRoot root(ParseDataSourceFromString(text, error));
    StringStream os(16);
    WriteObject(os, root.get(), {.m_indent = indent});
    return os.GetString().c_str();
}

std::string Navigate(const char* path, bool writes)
{
    xstring error;
    const GcRoot root(ParseDataSourceFromString(s_ours, error));
    ReflectionByteCode type;
    const void* const place = NavigatePathToField(root.get(), path, type, writes, error);
    return place != nullptr ? "found" : error.c_str();
}

const Operation s_operations[] = {
    {"scalars", [] { return Evaluate("1 + 2.5 * 3 - (4 << 2)"); }},
    {"texts",
     [] { return Evaluate("'a text of more than its own room' + string(1.5) + 'and another one that is long'"); }},
    {"a conditional",
     [] { return Evaluate("'one text that is long enough' == 'x' ? 'a' : 'another text of that length'"); }},
    {"an unknown name", [] { return Evaluate("1 + a_name_that_is_longer_than_a_string_can_hold_itself"); }},
    {"incompatible types", [] { return Evaluate("'a' - 1"); }},
    {"a text as an argument", [] { return Evaluate("sin('a text that is too long to fit into a string')"); }},
    {"an escape that is wrong", [] { return Evaluate("'a text with an escape that is none \\q and more'"); }},
    {"a call", [] { return Evaluate("1(2, 'a text that is too long to fit into a string', 3)"); }},
    {"reading of ours", [] { return ReadText(s_ours); }},
    {"reading of theirs", [] { return ReadText(s_theirs); }},
    {"reading that fails",
     [] { return ReadText("scarce::Ours { list = [{}, { oops_this_is_no_member_of_it = 1 }] }"); }},
    {"an unknown class", [] { return ReadText("scarce::NoClassOfThisNameThatIsLong { }"); }},
    {"writing on one line", [] { return WriteText(s_ours, 0); }},
    {"writing on many", [] { return WriteText(s_theirs, 4); }},
    {"a path", [] { return Navigate(".list[1].numbers[0]", false); }},
    {"a path that writes", [] { return Navigate(".next.next.name", true); }},
    {"a path that grows", [] { return Navigate(".grown[[1000]", false); }},
    {"a path that fails", [] { return Navigate(".list[1].a_member_that_there_is_none_of_and_never_was", false); }},
    {"copies",
     []
     {
         xstring error;
         const GcRoot root(ParseDataSourceFromString(s_ours, error));
         const auto& ours = *CastObject<Ours>(root.get());
         const scarce::Choice choice = ours.choice;
         const auto choices = ours.choices;
         const auto maps = ours.maps;
         const auto map = ours.map;
         return choice == ours.choice && choices.size() == ours.choices.size() && maps.size() == ours.maps.size() &&
                        map == ours.map
                    ? std::string("same")
                    : std::string("other");
     }},
    {"a reflected value",
     []
     {
         ReflectedValue value;
         value.m_data.resize(sizeof(scarce::Large));
         ConstructReflectedVariable(TypeOf<scarce::Large>(), value.m_data.begin());
         value.m_rbc = TypeOf<scarce::Large>();
         const ReflectedValue copy(value);
         return std::string(value == copy ? "same" : "other");
     }},
    {"script values",
     []
     {
         KSValue text(xstring("a text that is too long to fit into a string"));
         const KSValue copy = text;
         text = KSValue(int64(1));
         text = copy;
         StringStream os(16);
         os << text;
         return std::string(os.GetString().c_str());
     }},
    {"qualified names",
     []
     {
         xvector<SubString> segments;
         SubString path = "a::name.of::some::more::segments::than::fit::at::first";
         TokenisePath(path, segments);
         return std::to_string(segments.size());
     }},
    {"an archive",
     []
     {
         Archive archive;
         for (int i = 0; i < 100; ++i)
             archive.WriteInt64(i);
         InputArchive in(archive.GetBytes().data(), archive.GetBytes().data() + archive.GetBytes().size());
         int64 sum = 0;
         while (in.GetNumBytesLeft() > 0)
             sum += in.ReadInt64();
         return std::to_string(sum);
     }},
    {"a registration",
     []
     {
         // Each time another name, which a failure does not take.
         static int s_count = 0;
         static std::vector<std::unique_ptr<std::string>>& s_names = *new std::vector<std::unique_ptr<std::string>>;
         static std::vector<std::unique_ptr<ReflectedClass>>& s_classes =
             *new std::vector<std::unique_ptr<ReflectedClass>>;
         static const ReflectedField s_fields[] = {{"number", 0, reinterpret_cast<const uint8*>("\x04")}};
         if (s_names.empty() || TryFindReflectedClass(s_names.back()->c_str()) != nullptr)
         {
             auto name = std::make_unique<std::string>("scarce::ns" + std::to_string(s_count) + "::inner::Class");
             auto rc = std::make_unique<ReflectedClass>(
                 ReflectedClass{.m_name = name->c_str(), .m_size = 4, .m_fields = s_fields, .m_numFields = 1});
             s_classes.reserve(s_classes.size() + 1);
             s_names.push_back(std::move(name));
             s_classes.push_back(std::move(rc));
             ++s_count;
         }
         const ENameSpaceError error = RegisterReflectedClass(s_classes.back().get(), nullptr);
         const ReflectedClass* const found = TryFindReflectedClass(s_names.back()->c_str());
         return std::string(error == NSE_OK && found == s_classes.back().get() ? "registered" : "lost");
     }},
};

// What failed before is not remembered: the same operation does the same again.
TEST_F(Scarce, EveryAllocationOfEveryOperationMayFail)
{
    for (const Operation& operation : s_operations)
    {
        const std::string expected = operation.m_run();
        CollectGarbage();
        for (const bool failsOnce : {false, true})
        {
            long failures = 0;
            for (bool hasFailed = true; hasFailed; ++failures)
            {
                std::string outcome;
                try
                {
                    const OutOfMemory outOfMemory(failures, failsOnce);
                    outcome = operation.m_run();
                }
                catch (const std::bad_alloc&)
                {
                    outcome = "bad_alloc";
                }
                hasFailed = OutOfMemory::HasFailed();
                // What can do without goes on.
                EXPECT_TRUE(outcome == expected || (hasFailed && outcome == "bad_alloc"))
                    << operation.m_name << ", allocation " << failures << ": " << outcome;
                ExpectAllWhole(operation.m_name);
            }
            EXPECT_EQ(operation.m_run(), expected) << operation.m_name;
            CollectGarbage();
            RecordProperty(operation.m_name, static_cast<int>(failures));
        }
    }
}

} // namespace
} // namespace kelm
