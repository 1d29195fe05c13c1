#include "TextRows.h"

#include "Ours.h"

#include <algorithm>
#include <dlfcn.h>
#include <iterator>
#include <stdexcept>

namespace kelm::bench
{

namespace
{

struct Derived
{
    const char* m_prefix;
    Action m_action;
    std::vector<std::string> m_kinds;
};

// Layout is nothing to a writer.
const Derived s_derived[] = {
    {"writing ",
     Action::Write,
     {"integers", "lists of integers", "doubles of 17 digits", "prices", "records", "configuration", "strings",
      "strings, one in twenty with an escape", "strings, one character in twenty escaped", "strings, non-ASCII",
      "ordered map of random strings", "levels of classes"}},
    {"refusing ",
     Action::Refuse,
     {"integers", "doubles of 17 digits", "records", "records with comments", "configuration", "strings",
      "ordered map of random strings", "levels of classes"}},
};

bool IsOurs(const TextPeer& peer)
{
    return &peer == &GetOurs();
}

// The error is a character that no text has there: behind a comma or an equals sign or, where there are none, between
// the brackets that close.
std::string WithErrorNearEnd(std::string text)
{
    const std::size_t from = text.size() - text.size() / 20;
    const std::size_t at = text.find_first_of(",=", from);
    text.insert(at == std::string::npos ? from : at + 1, 1, ')');
    return text;
}

} // namespace

const std::vector<TextRow>& GetTextRows()
{
    static const std::vector<TextRow> rows = []
    {
        std::vector<TextRow> made;
        for (const TextKind& kind : GetTextKinds())
            made.push_back({kind.m_name, &kind, Action::Read});
        for (const Derived& derived : s_derived)
            for (const std::string& name : derived.m_kinds)
            {
                const auto isNamedSo = [&](const TextKind& kind) { return kind.m_name == name; };
                const auto& kinds = GetTextKinds();
                const auto kind = std::find_if(kinds.begin(), kinds.end(), isNamedSo);
                if (kind == kinds.end())
                    throw std::logic_error("no such kind: " + name);
                made.push_back({derived.m_prefix + name, &*kind, derived.m_action});
            }
        return made;
    }();
    return rows;
}

const std::vector<const TextPeer*>& GetTextPeers()
{
    static const std::vector<const TextPeer*> peers = []
    {
        std::vector<const TextPeer*> found = {&GetOurs()};
        for (const char* const module : {KELM_BENCH_TEXT_PEERS})
        {
            void* const library = dlopen(module, RTLD_NOW | RTLD_LOCAL);
            if (library == nullptr)
                throw std::runtime_error(dlerror());
            const auto* const exported = static_cast<const TextPeers*>(dlsym(library, s_textPeersSymbol));
            for (std::size_t i = 0; i < exported->m_count; ++i)
                found.push_back(exported->m_begin + i);
        }
        return found;
    }();
    return peers;
}

TextWork::TextWork(const TextRow& row, const Text& text, const TextPeer& peer)
    : m_peer(peer), m_fns(peer.m_roots[static_cast<int>(text.m_root)]), m_action(row.m_action), m_digest(text.m_digest)
{
    std::string written = IsOurs(peer) ? text.m_ours : text.m_json;
    if (m_action == Action::Refuse)
        written = WithErrorNearEnd(std::move(written));
    m_text = peer.MakeText(written.data(), written.size());
    if (m_action == Action::Write)
    {
        if (m_fns.Write == nullptr)
            return;
        m_object = m_fns.MakeObject(m_text);
    }
    m_do = m_action == Action::Write ? m_fns.Write : m_fns.Read;
    m_argument = m_action == Action::Write ? m_object : m_text;
}

TextWork::~TextWork()
{
    if (m_object != nullptr)
        m_fns.DropObject(m_object);
    m_peer.DropText(m_text);
}

bool TextWork::GetDigest(std::uint64_t& digest) const
{
    if (m_action == Action::Write)
        return m_do != nullptr && m_fns.DigestOfWritten(m_object, digest);
    return m_fns.DigestOfText(m_text, digest);
}

bool TextWork::CanBeDone() const
{
    std::uint64_t digest;
    return m_action == Action::Refuse ? IsOurs(m_peer) : GetDigest(digest);
}

bool TextWork::IsRight() const
{
    std::uint64_t digest;
    return m_action == Action::Refuse ? CanBeDone() && !GetDigest(digest) : GetDigest(digest) && digest == m_digest;
}

} // namespace kelm::bench
