// Any text at the front door ends in a value or in the one error, placed inside the text: as an expression over a scope
// with functions and objects, kept and not; as a path that is read and set; as a file.

#include <kelm/kelm.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

namespace fuzzed
{

enum class Size : unsigned char
{
    small,
    large = 9
};

struct Line
{
    std::string item = "tea";
    int quantity = 1;
    double price = 2.5;
    double Total() const { return quantity * price; }
};

struct Order
{
    std::string customer = "Ada";
    std::vector<Line> lines = {Line{}, Line{}};
    std::optional<double> discount;
    std::optional<Line> gift;
    std::map<std::string, double> rates = {{"EUR", 1}};
    std::unordered_map<int, std::string> notes;
    std::set<int> marks = {3};
    std::variant<int, std::string, Line> extra;
    std::pair<int, std::string> pair;
    std::unique_ptr<Line> part = std::make_unique<Line>();
    std::shared_ptr<Order> outer;
    std::chrono::milliseconds timeout{250};
    std::vector<bool> flags = {true, false};
    Size size = Size::small;
    unsigned long count = 0;
    kelm::xstring name = "ours";
    kelm::xstring16 wide;
    kelm::xvector<int> numbers = {1, 2};
    kelm::xmap<kelm::xstring, int> byName;
    int port = 80;
};

inline bool IsPort(const int& port)
{
    return port > 0 && port < 65536;
}

} // namespace fuzzed

KELM_DESCRIBE_ENUM(fuzzed::Size, small, large)
KELM_DESCRIBE(fuzzed::Line, item, quantity, price)
KELM_CLASS(fuzzed::Order, KELM_MODEL(customer), KELM_MODEL(lines), KELM_MODEL(discount), KELM_MODEL(gift),
           KELM_MODEL(rates), KELM_MODEL(notes), KELM_MODEL(marks), KELM_MODEL(extra), KELM_MODEL(pair),
           KELM_MODEL(part), KELM_MODEL(outer), KELM_MODEL(timeout), KELM_MODEL(flags), KELM_MODEL(size),
           KELM_MODEL(count), KELM_MODEL(name), KELM_MODEL(wide), KELM_MODEL(numbers), KELM_MODEL(byName),
           KELM_MODEL(port).Check(fuzzed::IsPort))

namespace
{

using namespace kelm;
using fuzzed::Line;
using fuzzed::Order;

void Require(bool holds)
{
    if (!holds)
        std::abort();
}

// In the text, with the whole line shown. The exact language refuses subscripts and len of texts by failing assertions.
void CheckError(const Error& error, std::string_view text, Language language = Language::Natural)
{
    Require(error.GetKind() != ErrorKind::Internal || language == Language::Exact);
    Require(!error.GetMessage().empty());
    if (error.GetLine() == 0)
        return;
    Require(error.GetLine() <= 1 + std::count(text.begin(), text.end(), '\n'));
    Require(error.GetColumn() > 0);
    Require(!error.GetExcerpt().empty());
}

template <class T>
void Check(const Result<T>& result, std::string_view text, Language language = Language::Natural)
{
    if (!result)
        CheckError(result.GetError(), text, language);
}

// All that calls and assignments could take too long for.
bool IsQuick(std::string_view text)
{
    return text.size() < 2000 && std::count(text.begin(), text.end(), ',') < 100;
}

void EvaluateIt(std::string_view text)
{
    Order order;
    double x = 1.5;
    std::string word = "word";
    Scope scope;
    scope.Bind("order", order).Bind("x", x).Bind("word", word).Set("i", 1).Set("line", Value(Line{}));
    scope.Define("twice", [](double a) { return 2 * a; });
    scope.Define("join", [](const std::string& a, std::string_view b) { return a + std::string(b); });
    scope.Define("make", [](int quantity) { return Line{"made", quantity, 0.5}; });
    scope.Define("first", [](Order& o) -> Line& { return o.lines.at(0); });
    scope.Define("any_of", [](std::span<const Value> values) { return values.empty() ? Value() : values[0]; });
    scope.Define("Total", &Line::Total);
    for (const Language language : {Language::Natural, Language::Exact})
    {
        // The exact language may fault at the smallest integer by -1.
        if (language == Language::Exact && text.find_first_of("/%") != std::string_view::npos)
            continue;
        try
        {
            const Result<Value> once = TryEvaluate(text, scope, language);
            Check(once, text, language);
            if (once)
                static_cast<void>(once->ToText());
            const Expression kept(text, scope, {"p"}, language);
            Check(kept.TryEvaluate(7), text, language);
            Check(kept.TryEvaluate(order.lines.empty() ? Line{} : order.lines[0]), text, language);
        }
        catch (const Error& e)
        {
            CheckError(e, text, language);
        }
        catch (const std::out_of_range&) // a function of the program
        {
        }
    }
    static_cast<void>(TryEvaluate("order.lines", scope));
}

void WalkIt(std::string_view text)
{
    Order order;
    Check(TryGet<int>(order, text), text);
    Check(TryGet<std::string>(order, text), text);
    Check(TryGet<Line>(order, text), text);
    Check(TrySet(order, text, 7), text);
    Check(TrySet(order, text, "large"), text);
    Check(TrySet(order, text, true), text);
    Check(TrySet(order, text, nullptr), text);
    Check(TrySet(order, text, Line{"set", 1, 1}), text);
    try
    {
        static_cast<void>(Has(order, text));
    }
    catch (const Error& e)
    {
        CheckError(e, text);
    }
    const Result<Order> again = TryRead<Order>(Write(order));
    Require(static_cast<bool>(again));
}

void ReadIt(std::string_view text)
{
    const Result<Order> order = TryRead<Order>(text);
    Check(order, text);
    if (order)
        Require(static_cast<bool>(TryRead<Order>(Write(*order))));
    Check(TryRead<Order>(text, UnknownMembers::PassOver), text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    if (!IsQuick(text))
        return 0;
    switch (*data % 3)
    {
    case 0: EvaluateIt(text); break;
    case 1: WalkIt(text); break;
    default: ReadIt(text); break;
    }
    return 0;
}
