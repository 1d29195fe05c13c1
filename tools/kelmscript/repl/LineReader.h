#pragma once

#include <klUtils/types.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::tool
{

enum ERead
{
    READ_LINE,
    READ_INTERRUPTED, // Ctrl-C: what was typed so far is dropped
    READ_END,         // Ctrl-D, or the end of the input
    READ_FAILED,      // the end of what can be read, after the reason was reported
};

// What the word under the cursor can become.
struct Completions
{
    std::vector<std::string> m_words; // whole words, in order
    bool m_areFileNames = false;      // the words are whatever files there are
};

// Knows what can be typed.
class CompletionSource
{
public:
    virtual ~CompletionSource() = default;

    // The characters that end a word of this line.
    virtual ConstStringZ GetWordBreaks(const std::string& line) const = 0;

    // Whether it takes the name of a file, which may be in quotes.
    virtual bool TakesFile(const std::string& line) const = 0;

    // Completes the word that stands at [start, end) of a line.
    virtual Completions Complete(const std::string& line, std::size_t start, std::size_t end) const = 0;
};

// Where the prompt's lines come from.
class LineReader
{
public:
    virtual ~LineReader() = default;

    virtual bool IsInteractive() const = 0;

    // Reads a line, without its line break, or several that were pasted; they stay until the next call. A prompt is
    // shown where a person reads it.
    virtual ERead Read(ConstStringZ prompt, std::string_view& line) = 0;

    // Enters what was typed, in one or several lines, into the history.
    virtual void Remember(const std::string& entry) = 0;
};

// Standard input: at a terminal with editing, completion and a history that is kept between runs; elsewhere plain
// lines. One at a time; `completions` must outlive it.
std::unique_ptr<LineReader> MakeLineReader(const CompletionSource& completions);

} // namespace kelm::tool
