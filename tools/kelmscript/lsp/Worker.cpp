#include "Worker.h"

#include "../Options.h"

#include <kelm/private/TypeCatalogue.h>
#include <kelmDocument/Diagnose.h>
#include <kelmLanguage/server/Json.h>
#include <klObject/objects/Collector.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelm::tool
{

using language::Framed;
using language::Json;

// --- In the worker

namespace
{

Json FindingsOf(std::string_view text)
{
    Json findings = Json::array();
    for (const Diagnostic& diagnostic : Diagnose(text))
    {
        const bool hasToken = !diagnostic.m_token.IsEmpty();
        std::string message = diagnostic.m_message;
        if (!diagnostic.m_note.empty())
            message += "\n" + diagnostic.m_note;
        findings.push_back({{"error", diagnostic.m_severity == Severity::Error},
                            {"message", std::move(message)},
                            {"begin", hasToken ? diagnostic.m_token.m_begin : diagnostic.m_place},
                            {"end", hasToken ? diagnostic.m_token.m_end : diagnostic.m_place}});
    }
    CollectGarbage();
    return findings;
}

bool Put(int output, const Json& message)
{
    return WriteAll(output, Framed(message.dump(-1, ' ', false, Json::error_handler_t::replace)));
}

} // namespace

int RunWorker()
{
    // What modules write to standard output is no message.
    const FileDescriptor output(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3));
    if (!output.IsOpen() || dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        return EXIT_FAILED;
    if (!Put(output.get(), {{"types", JsonOf(CatalogueOfRegisteredTypes())}}))
        return EXIT_FAILED;
    language::FrameReader reader;
    std::array<char, 65536> buffer;
    while (true)
    {
        while (const auto message = reader.Next())
        {
            const Json request = Json::parse(message->m_body, nullptr, false);
            const Json* const text = language::Find(request, "text");
            if (text == nullptr || !text->is_string())
                return EXIT_FAILED;
            if (!Put(output.get(), {{"findings", FindingsOf(text->get_ref<const std::string&>())}}))
                return EXIT_FAILED;
        }
        const ssize_t size = ReadSome(STDIN_FILENO, buffer.data(), buffer.size());
        if (size <= 0)
            return size == 0 ? EXIT_OK : EXIT_FAILED;
        reader.Add({buffer.data(), static_cast<std::size_t>(size)});
    }
}

// --- Beside it

namespace
{

struct Pipe
{
    FileDescriptor m_read;
    FileDescriptor m_write;

    bool Open()
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            return false;
        m_read = FileDescriptor(ends[0]);
        m_write = FileDescriptor(ends[1]);
        return true;
    }
};

void DoNotBlock(const FileDescriptor& file)
{
    fcntl(file.get(), F_SETFL, fcntl(file.get(), F_GETFL) | O_NONBLOCK);
}

} // namespace

bool Worker::Start(const std::vector<std::string>& modules)
{
    Kill();
    Pipe input;
    Pipe output;
    Pipe errors;
    if (!input.Open() || !output.Open() || !errors.Open())
        return false;
    std::vector<std::string> arguments = {"kelmscript", "lsp", "--worker"};
    for (const std::string& module : modules)
        arguments.insert(arguments.end(), {"--module", module});
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);

    m_process = fork();
    if (m_process < 0)
        return false;
    if (m_process == 0)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL); // whatever keeps it busy then
        std::signal(SIGPIPE, SIG_DFL);
        dup2(input.m_read.get(), STDIN_FILENO);
        dup2(output.m_write.get(), STDOUT_FILENO);
        dup2(errors.m_write.get(), STDERR_FILENO);
        execv("/proc/self/exe", pointers.data());
        _exit(127);
    }
    m_input = std::move(input.m_write);
    m_output = std::move(output.m_read);
    m_errors = std::move(errors.m_read);
    for (const FileDescriptor* file : {&m_input, &m_output, &m_errors})
        DoNotBlock(*file);
    m_reader = {};
    m_toSend.clear();
    m_isSending = false;
    m_lastErrors.clear();
    return true;
}

void Worker::Kill()
{
    if (m_process <= 0)
        return;
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
    m_process = -1;
    m_input.Close();
    m_output.Close();
    m_errors.Close();
}

void Worker::Send(std::string_view body)
{
    m_toSend += Framed(body);
    m_isSending = true;
    Write();
}

void Worker::Write()
{
    while (!m_toSend.empty())
    {
        const ssize_t size = write(m_input.get(), m_toSend.data(), m_toSend.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0)
        {
            if (errno != EAGAIN) // it has ended, which its output tells
                m_toSend.clear();
            break;
        }
        m_toSend.erase(0, static_cast<std::size_t>(size));
    }
    m_isSending = !m_toSend.empty();
}

bool Worker::Read(std::vector<language::Message>& messages)
{
    std::array<char, 65536> buffer;
    ssize_t size = 0;
    while ((size = read(m_output.get(), buffer.data(), buffer.size())) > 0)
        m_reader.Add({buffer.data(), static_cast<std::size_t>(size)});
    while (auto message = m_reader.Next())
        messages.push_back(std::move(*message));
    return size < 0 && (errno == EAGAIN || errno == EINTR);
}

void Worker::PassErrors()
{
    constexpr std::size_t most = 2000;
    std::array<char, 4096> buffer;
    ssize_t size = 0;
    while ((size = read(m_errors.get(), buffer.data(), buffer.size())) > 0)
    {
        const std::string_view text(buffer.data(), static_cast<std::size_t>(size));
        static_cast<void>(WriteAll(STDERR_FILENO, text));
        m_lastErrors += text;
        if (m_lastErrors.size() > most)
            m_lastErrors.erase(0, m_lastErrors.size() - most);
    }
    if (size == 0)
        m_errors.Close();
}

std::string Worker::End(bool& hasRefused)
{
    if (m_errors.IsOpen())
        PassErrors();
    int status = 0;
    kill(m_process, SIGKILL); // where it has merely closed its output
    waitpid(m_process, &status, 0);
    m_process = -1;
    m_input.Close();
    m_output.Close();
    m_errors.Close();
    hasRefused = WIFEXITED(status) && WEXITSTATUS(status) == EXIT_USAGE;
    if (hasRefused)
    {
        std::string why = m_lastErrors;
        while (why.ends_with('\n'))
            why.pop_back();
        constexpr std::string_view heading = "kelmscript: error: ";
        for (std::size_t at = why.find(heading); at != std::string::npos; at = why.find(heading, at))
            why.erase(at, heading.size());
        return why;
    }
    if (WIFSIGNALED(status))
        return std::string("signal ") + std::to_string(WTERMSIG(status)) + ", " + strsignal(WTERMSIG(status));
    return "exit code " + std::to_string(WEXITSTATUS(status));
}

} // namespace kelm::tool
