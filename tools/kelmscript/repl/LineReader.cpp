#include "LineReader.h"

#include "../files/LineInput.h"
#include "../reporting/Diagnostics.h"
#include "../reporting/Interruption.h"
#include "../reporting/Output.h"

#include <dlfcn.h>
#include <unistd.h>

namespace kelm::tool
{

namespace
{

// Lines as they come. At a terminal, where there is no editor, its own line discipline has to do.
class PlainReader : public LineReader
{
public:
    explicit PlainReader(bool isInteractive) : m_isInteractive(isInteractive) {}

    bool IsInteractive() const override { return m_isInteractive; }

    ERead Read(ConstStringZ prompt, std::string_view& line) override
    {
        if (m_isInteractive)
            Put(prompt);
        return m_lines.Read(line) ? READ_LINE : m_lines.HasFailed() ? READ_FAILED : READ_END;
    }

    void Remember(const std::string&) override {}

private:
    LineInput m_lines{"-"};
    bool m_isInteractive;
};

// The library of the editor, where it lies beside the tool, whatever other folders hold.
std::string PathOfEditor()
{
    char path[4096];
    const ssize_t size = readlink("/proc/self/exe", path, sizeof path);
    const std::string_view tool(path, size > 0 ? static_cast<std::size_t>(size) : 0);
    const std::size_t folder = tool.rfind('/');
    const std::string name = KELM_PROMPT_LIBRARY;
    if (folder == std::string_view::npos)
        return name.substr(name.rfind('/') + 1); // by the tool's run path
    return std::string(tool.substr(0, folder + 1)) + name;
}

// Null, after the reason was reported, where the library of the editor cannot be loaded.
std::unique_ptr<LineReader> LoadTerminalReader(const CompletionSource& completions)
{
    void* const library = dlopen(PathOfEditor().c_str(), RTLD_NOW);
    void* const function = library != nullptr ? dlsym(library, "MakeTerminalReader") : nullptr;
    if (function == nullptr)
    {
        ReportNote(std::string("lines cannot be edited here: ") + dlerror());
        return nullptr;
    }
    using MakeTerminalReader = LineReader* (*)(const CompletionSource*, volatile std::sig_atomic_t*);
    return std::unique_ptr<LineReader>(
        reinterpret_cast<MakeTerminalReader>(function)(&completions, &evaluation::s_isInterrupted));
}

} // namespace

std::unique_ptr<LineReader> MakeLineReader(const CompletionSource& completions)
{
    const bool isInteractive = isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0;
    std::unique_ptr<LineReader> reader;
    if (isInteractive)
        reader = LoadTerminalReader(completions);
    return reader != nullptr ? std::move(reader) : std::make_unique<PlainReader>(isInteractive);
}

} // namespace kelm::tool
