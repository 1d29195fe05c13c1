#pragma once

// What reading by rules remembers: of an error, on which way from the outermost value it arose; of a class's body,
// which members have been written. And how a value that nobody wants is passed over.

#include <klUtils/text/private/Cursor.h>
#include <klUtils/types.h>

#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kelm
{

// The way to the value at which reading failed. Nothing is noted before that: the steps note themselves as the stack
// unwinds, the innermost first.
class ReadingTrail
{
public:
    template <class GetText>
    void Note(const GetText& getText) noexcept
    {
        try
        {
            if (m_steps.size() < s_most)
                m_steps.push_back(getText());
            else
                m_isCut = true;
        }
        catch (const std::exception&)
        {
            m_isCut = true; // without memory an error has no path
        }
    }

    std::string GetText() const
    {
        std::string text = m_isCut ? "..." : "";
        for (std::size_t i = m_steps.size(); i-- > 0;)
            text += m_steps[i];
        return text;
    }

private:
    static constexpr std::size_t s_most = 64;

    std::vector<std::string> m_steps;
    bool m_isCut = false;
};

// A step of that way, for as long as it lives.
template <class GetText>
class TrailStep
{
public:
    TrailStep(ReadingTrail& trail, const GetText& getText) : m_trail(trail), m_getText(getText) {}
    TrailStep(const TrailStep&) = delete;
    TrailStep& operator=(const TrailStep&) = delete;
    ~TrailStep()
    {
        if (!m_isDone)
            m_trail.Note(m_getText);
    }

    void Finish() { m_isDone = true; }

private:
    ReadingTrail& m_trail;
    const GetText m_getText;
    bool m_isDone = false;
};

// The members of a class that its body has written, by their numbers.
class WrittenMembers
{
public:
    bool Has(ssize_t member) const
    {
        const auto i = static_cast<std::size_t>(member);
        if (i < s_few)
            return (m_few >> i & 1) != 0;
        return m_others != nullptr && i - s_few < m_others->size() && (*m_others)[i - s_few];
    }

    // Whether it has not been there.
    bool Add(ssize_t member)
    {
        const auto i = static_cast<std::size_t>(member);
        if (i >= s_few) [[unlikely]]
            return AddOther(i - s_few);
        const uint64 before = std::exchange(m_few, m_few | uint64{1} << i);
        return before != m_few;
    }

private:
    static constexpr std::size_t s_few = 64;

    [[gnu::noinline]] bool AddOther(std::size_t i)
    {
        if (m_others == nullptr)
            m_others = std::make_unique<std::vector<bool>>();
        if (i >= m_others->size())
            m_others->resize(i + 1);
        const bool isNew = !(*m_others)[i];
        (*m_others)[i] = true;
        return isNew;
    }

    uint64 m_few = 0;
    std::unique_ptr<std::vector<bool>> m_others;
};

// Past a value of any type, from its first token to the one behind it. Throws LexScannerException where none stands
// there, where brackets do not match, and where characters form no token.
void PassValue(text::Cursor& cursor);

} // namespace kelm
