#include "Readers.h"

#include "Ours.h"

#include <dlfcn.h>
#include <stdexcept>

namespace kelm::bench
{

const std::vector<const ReadingPeer*>& GetReaders()
{
    static const std::vector<const ReadingPeer*> readers = []
    {
        std::vector<const ReadingPeer*> found = {&GetOurs()};
        for (const char* const module : {KELM_BENCH_READERS})
        {
            void* const library = dlopen(module, RTLD_NOW | RTLD_LOCAL);
            if (library == nullptr)
                throw std::runtime_error(dlerror());
            const auto* const peers = static_cast<const ReadingPeers*>(dlsym(library, s_readingPeersSymbol));
            for (std::size_t i = 0; i < peers->m_count; ++i)
                found.push_back(peers->m_begin + i);
        }
        return found;
    }();
    return readers;
}

ReadingText::ReadingText(const ReadingPeer& reader, const Text& text)
    : m_reader(reader), m_fns(reader.m_roots[static_cast<int>(text.m_root)]), m_digest(text.m_digest)
{
    const std::string& written = &reader == &GetOurs() ? text.m_ours : text.m_json;
    m_text = reader.MakeText(written.data(), written.size());
}

bool ReadingText::IsRight() const
{
    std::uint64_t digest = 0;
    return m_fns.Digest(m_text, digest) && digest == m_digest;
}

} // namespace kelm::bench
