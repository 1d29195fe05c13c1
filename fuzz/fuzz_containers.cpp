// Containers of ours do what those of the standard library do, whatever is done to them: each byte of the input is an
// operation, followed by what it takes.

#include <klObject/containers/xmap.h>
#include <klObject/containers/xset.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <vector>

using namespace kelm;

namespace
{

void Require(bool holds)
{
    if (!holds)
        std::abort();
}

// What is left of the input.
class Input
{
public:
    Input(const unsigned char* data, std::size_t size) : m_p(data), m_end(data + size) {}

    bool IsEmpty() const { return m_p == m_end; }
    unsigned TakeByte() { return IsEmpty() ? 0 : *m_p++; }
    int TakeBelow(std::size_t bound) { return bound == 0 ? 0 : static_cast<int>(TakeByte() % bound); }
    std::string TakeText()
    {
        const std::size_t wanted = TakeByte() % 40;
        const std::size_t size = std::min(wanted, static_cast<std::size_t>(m_end - m_p));
        const std::string text(reinterpret_cast<const char*>(m_p), size);
        m_p += size;
        return text;
    }

private:
    const unsigned char* m_p;
    const unsigned char* m_end;
};

xstring ToXString(const std::string& text)
{
    return xstring(text.data(), static_cast<ssize_t>(text.size()));
}

bool IsSame(const xstring& ours, const std::string& theirs)
{
    return ours.view() == theirs && ours.c_str()[ours.size()] == '\0';
}

struct Vectors
{
    xvector<xstring> m_ours;
    std::vector<std::string> m_theirs;

    void Do(Input& input)
    {
        const auto size = m_theirs.size();
        switch (input.TakeByte() % 9)
        {
        case 0:
        {
            const std::string text = input.TakeText();
            m_ours.push_back(ToXString(text));
            m_theirs.push_back(text);
            break;
        }
        case 1: // an element of its own
            if (size > 0 && size < 1000)
            {
                const int i = input.TakeBelow(size);
                m_ours.push_back(m_ours[i]);
                m_theirs.push_back(std::string(m_theirs[static_cast<std::size_t>(i)]));
            }
            break;
        case 2:
            if (size > 0)
            {
                m_ours.pop_back();
                m_theirs.pop_back();
            }
            break;
        case 3:
        {
            const int n = input.TakeBelow(64);
            m_ours.resize(n);
            m_theirs.resize(static_cast<std::size_t>(n));
            break;
        }
        case 4:
        {
            const int i = input.TakeBelow(size + 1);
            const std::string text = input.TakeText();
            m_ours.insert(m_ours.begin() + i, ToXString(text));
            m_theirs.insert(m_theirs.begin() + i, text);
            break;
        }
        case 5:
            if (size > 0)
            {
                const int i = input.TakeBelow(size);
                m_ours.erase(m_ours.begin() + i);
                m_theirs.erase(m_theirs.begin() + i);
            }
            break;
        case 6: m_ours.reserve(input.TakeBelow(256)); break;
        case 7:
        {
            const xvector<xstring> copy = m_ours;
            Require(copy == m_ours && !(copy < m_ours));
            m_ours = copy;
            break;
        }
        case 8:
            m_ours.clear();
            m_theirs.clear();
            break;
        }
        Require(m_ours.size() == static_cast<ssize_t>(m_theirs.size()));
        Require(std::equal(m_theirs.begin(), m_theirs.end(), m_ours.begin(),
                           [](const std::string& theirs, const xstring& ours) { return IsSame(ours, theirs); }));
    }
};

struct Maps
{
    xmap<xstring, int32> m_ours;
    std::map<std::string, int32> m_theirs;

    void Do(Input& input)
    {
        const std::string key = input.TakeText();
        const xstring ours = ToXString(key);
        switch (input.TakeByte() % 6)
        {
        case 0:
        {
            const auto value = static_cast<int32>(input.TakeByte());
            m_ours[ours] = value;
            m_theirs[key] = value;
            break;
        }
        case 1: Require(m_ours.erase(ours) == (m_theirs.erase(key) != 0)); break;
        case 2:
        {
            const auto found = m_ours.find(ours);
            const auto theirs = m_theirs.find(key);
            Require((found == m_ours.end()) == (theirs == m_theirs.end()));
            Require(found == m_ours.end() || found->m_value == theirs->second);
            break;
        }
        case 3:
        {
            const auto bound = m_ours.lower_bound(ours);
            const auto theirs = m_theirs.lower_bound(key);
            Require((bound == m_ours.end()) == (theirs == m_theirs.end()));
            Require(bound == m_ours.end() || IsSame(bound->m_key, theirs->first));
            break;
        }
        case 4:
        {
            const auto copy = m_ours;
            Require(copy == m_ours);
            m_ours = copy;
            break;
        }
        case 5:
            if (input.TakeByte() % 16 == 0)
            {
                m_ours.clear();
                m_theirs.clear();
            }
            break;
        }
        Require(m_ours.size() == static_cast<ssize_t>(m_theirs.size()));
        Require(std::equal(m_theirs.begin(), m_theirs.end(), m_ours.begin(),
                           [](const auto& theirs, const auto& entry)
                           { return IsSame(entry.m_key, theirs.first) && entry.m_value == theirs.second; }));
    }
};

struct Sets
{
    xset<int64> m_ours;
    std::set<int64> m_theirs;

    void Do(Input& input)
    {
        const auto value = static_cast<int64>(input.TakeByte() * 251 + input.TakeByte());
        if (input.TakeByte() % 3 != 0)
            Require(m_ours.insert(value).second == m_theirs.insert(value).second);
        else
            Require(m_ours.erase(value) == (m_theirs.erase(value) != 0));
        Require(m_ours.contains(value) == (m_theirs.count(value) != 0));
        Require(m_ours.size() == static_cast<ssize_t>(m_theirs.size()));
        Require(std::equal(m_theirs.begin(), m_theirs.end(), m_ours.begin()));
    }
};

struct Strings
{
    xstring m_ours;
    std::string m_theirs;

    void Do(Input& input)
    {
        const std::string text = input.TakeText();
        switch (input.TakeByte() % 5)
        {
        case 0:
            m_ours.append(ToXString(text));
            m_theirs.append(text);
            break;
        case 1: // of itself
            if (m_theirs.size() < 4096)
            {
                m_ours.append(m_ours);
                m_theirs.append(std::string(m_theirs));
            }
            break;
        case 2:
            m_ours = ToXString(text);
            m_theirs = text;
            break;
        case 3:
            m_ours.prepend(ToXString(text));
            m_theirs.insert(0, text);
            break;
        case 4:
        {
            const xstring other = ToXString(text);
            Require((m_ours < other) == (m_theirs < text));
            Require((m_ours == other) == (m_theirs == text));
            break;
        }
        }
        Require(IsSame(m_ours, m_theirs));
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    Input input(data, size);
    Vectors vectors;
    Maps maps;
    Sets sets;
    Strings strings;
    while (!input.IsEmpty())
        switch (input.TakeByte() % 4)
        {
        case 0: vectors.Do(input); break;
        case 1: maps.Do(input); break;
        case 2: sets.Do(input); break;
        case 3: strings.Do(input); break;
        }
    return 0;
}
