#pragma once

// The data that the benchmarks read, as values and as text in each format. Always the same: the generator is ours.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kelm::bench
{

struct PlainRecord
{
    std::string m_name;
    std::int64_t m_id = 0;
    double m_x = 0;
    double m_y = 0;
    double m_z = 0;
    int m_colour = 0;
    int m_width = 0;
    int m_height = 0;
    int m_depth = 0;

    bool operator==(const PlainRecord&) const = default;
};
inline constexpr int s_valuesPerRecord = 9;
inline constexpr const char* s_colours[] = {"RED", "GREEN", "BLUE", "BLACK"};

using PlainCounts = std::vector<std::pair<std::string, std::int64_t>>; // keys unique, in no order

std::vector<std::int64_t> MakeIntegers(long count); // of up to ten digits
std::vector<double> MakeDoubles(long count);        // of 17 digits
std::vector<PlainRecord> MakeRecords(long count);   // doubles of up to six digits, names of 4 to 12 characters
PlainCounts MakeCounts(long count);                 // keys of 8 to 16 characters

// One thing as text: an object with one member, "values" (of protobuf, a message).
struct Texts
{
    std::string m_ours;
    std::string m_json; // with room for 64 bytes behind it
    std::string m_proto;
};

Texts TextsOf(const std::vector<std::int64_t>& values);
Texts TextsOf(const std::vector<double>& values);
Texts TextsOf(const std::vector<PlainRecord>& values);
Texts TextsOf(const PlainCounts& values);

// The document that paths lead into, and the paths' names in each format.
Texts DocumentTexts();
inline constexpr int s_documentItems = 5; // and as many nodes, and parts in each
std::string ItemName(int i);
double PartWeight(int node, int part);

// Objects of the classes with 5 and with 100 members: `count` of them, each with all members in an order of its own.
std::string MembersText(const char* className, long count, int members);
std::string MemberName(int i); // m00, m01 ...

} // namespace kelm::bench
