#include <klUtils/TracerX.h>

#include <cstdio>
#include <mutex>

namespace kelm
{

namespace
{

void WriteToStandardError(SubString text, void*)
{
    std::fwrite(text.data(), 1, static_cast<std::size_t>(text.size()), stderr);
}

struct InstalledSink
{
    TraceSink m_sink = WriteToStandardError;
    void* m_context = nullptr;
};

std::mutex s_mutex;
InstalledSink s_installed;

} // namespace

TracerX::TracerX() : StringStream(4096) {}

TracerX::~TracerX()
{
    InstalledSink installed;
    {
        const std::lock_guard lock(s_mutex);
        installed = s_installed;
    }
    xstring text;
    try
    {
        text = GetString();
    }
    catch (const std::bad_alloc&)
    {
        return; // a trace that cannot be written is lost, not fatal
    }
    installed.m_sink(text, installed.m_context);
}

void SetTraceSink(TraceSink sink, void* context)
{
    const std::lock_guard lock(s_mutex);
    s_installed = sink != nullptr ? InstalledSink{sink, context} : InstalledSink{};
}

} // namespace kelm
