#pragma once

// The rows of texts, and those who can do them: ours and the peers that this build has.

#include "TextPeer.h"
#include "Texts.h"

#include <string>
#include <vector>

namespace kelm::bench
{

enum class Action
{
    Read,   // and release
    Write,  // an object that is there
    Refuse, // the text, for an error in its last tenth
};

struct TextRow
{
    std::string m_name;
    const TextKind* m_kind;
    Action m_action;
};

const std::vector<TextRow>& GetTextRows();

// Ours first.
const std::vector<const TextPeer*>& GetTextPeers();

// A row's work for one of the peers.
class TextWork
{
public:
    TextWork(const TextRow& row, const Text& text, const TextPeer& peer);
    TextWork(const TextWork&) = delete;
    TextWork& operator=(const TextWork&) = delete;
    ~TextWork();

    // Whether the peer does such things: some do not write, some refuse deep nesting.
    bool CanBeDone() const;

    // Whether it can be done and comes out as it must.
    bool IsRight() const;

    void Do() const { m_do(m_argument); }

private:
    // The digest of what comes out, where something does.
    bool GetDigest(std::uint64_t& digest) const;

    const TextPeer& m_peer;
    const RootFns& m_fns;
    Action m_action;
    std::uint64_t m_digest;
    void* m_text = nullptr;
    void* m_object = nullptr;
    void (*m_do)(void*) = nullptr;
    void* m_argument = nullptr;
};

} // namespace kelm::bench
