#pragma once

// Ours and the peers that this build has, and a text that one of them reads.

#include "ReadingPeer.h"
#include "Texts.h"

#include <vector>

namespace kelm::bench
{

// Ours first.
const std::vector<const ReadingPeer*>& GetReaders();

class ReadingText
{
public:
    ReadingText(const ReadingPeer& reader, const Text& text);
    ReadingText(const ReadingText&) = delete;
    ReadingText& operator=(const ReadingText&) = delete;
    ~ReadingText() { m_reader.DropText(m_text); }

    bool IsRight() const;

    void Read() const { m_fns.Read(m_text); }

private:
    const ReadingPeer& m_reader;
    const RootFns& m_fns;
    void* m_text;
    std::uint64_t m_digest;
};

} // namespace kelm::bench
