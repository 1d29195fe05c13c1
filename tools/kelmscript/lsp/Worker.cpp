#include "Worker.h"

#include "../commandline/Options.h"
#include "../files/Modules.h"

#include <kelmDocument/Diagnose.h>
#include <klObject/objects/Collector.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelm::tool
{

using language::Framed;
using language::Json;
using language::ReadJson;
using language::WriteJson;

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
    return WriteAll(output, Framed(WriteJson(message)));
}

Json DefaultsOf(const std::string& name)
{
    TypeCatalogue catalogue = CatalogueOfRegisteredTypes(name, Defaults::Untold);
    Json defaults = Json::array();
    for (CatalogueClass& entry : catalogue.m_classes)
    {
        TellDefaults(entry);
        for (const CatalogueMember& member : entry.m_members)
            defaults.push_back(member.m_default ? Json(*member.m_default) : Json());
    }
    return defaults;
}

// False where that cannot be done, or nothing is asked.
bool Answer(int output, const Json& request)
{
    if (const Json* const text = language::Find(request, "text"); text != nullptr && text->is_string())
        return Put(output, {{"findings", FindingsOf(text->get_ref<const std::string&>())}});
    const Json* const names = language::Find(request, "make");
    if (names == nullptr || !names->is_array())
        return false;
    for (const Json& name : *names)
        if (!name.is_string() || !Put(output, {{"made", name}, {"defaults", DefaultsOf(name.get<std::string>())}}))
            return false;
    CollectGarbage();
    return true;
}

} // namespace

int RunWorker(const WorkerTypes& types)
{
    if (!LoadModules(types.m_modules))
        return EXIT_USAGE;
    // What modules write to standard output is no message.
    const FileDescriptor output(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3));
    if (!output.IsOpen() || dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        return EXIT_FAILED;
    if (!Put(output.get(), {{"types", JsonOf(CatalogueOfRegisteredTypes({}, Defaults::Untold))}}) ||
        !Put(output.get(), {{"catalogues", TryLoadTypes(types.m_catalogues)}}))
        return EXIT_FAILED;
    language::FrameReader reader;
    std::array<char, 65536> buffer;
    while (true)
    {
        while (const auto message = reader.Next())
            if (!Answer(output.get(), ReadJson(message->m_body)))
                return EXIT_FAILED;
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

// Where the build says no other file, the one that runs.
#ifndef KELM_OWN_PROGRAM
#define KELM_OWN_PROGRAM "/proc/self/exe"
#endif
constexpr const char* s_ownProgram = KELM_OWN_PROGRAM;

void DoNotBlock(const FileDescriptor& file)
{
    fcntl(file.get(), F_SETFL, fcntl(file.get(), F_GETFL) | O_NONBLOCK);
}

} // namespace

bool Worker::Start(const WorkerTypes& types)
{
    Kill();
    Pipe input;
    Pipe output;
    Pipe errors;
    if (!input.Open() || !output.Open() || !errors.Open())
        return false;
    std::vector<std::string> arguments = {"kelmscript", "lsp", "--worker"};
    for (const std::string& module : types.m_modules)
        arguments.insert(arguments.end(), {"--module", module});
    for (const std::string& file : types.m_catalogues)
        arguments.insert(arguments.end(), {"--catalogue", file});
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
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
        execv(s_ownProgram, pointers.data());
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
    Close();
}

void Worker::Close()
{
    m_process = -1;
    m_isSending = false;
    for (FileDescriptor* const file : {&m_input, &m_output, &m_errors})
        file->Close();
}

void Worker::Send(const Json& message)
{
    m_toSend += Framed(WriteJson(message));
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
    constexpr int most = 16;
    std::array<char, 65536> buffer;
    ssize_t size = 0;
    for (int i = 0; i < most && (size = read(m_output.get(), buffer.data(), buffer.size())) > 0; ++i)
        m_reader.Add({buffer.data(), static_cast<std::size_t>(size)});
    const bool isOpen = size > 0 || (size < 0 && (errno == EAGAIN || errno == EINTR));
    while (auto message = m_reader.Next())
        messages.push_back(std::move(*message));
    return isOpen;
}

namespace
{

// Whoever reads our errors may not; nobody waits for that.
void PutError(std::string_view text)
{
    pollfd file = {STDERR_FILENO, POLLOUT, 0};
    if (poll(&file, 1, 0) > 0 && (file.revents & POLLOUT) != 0)
        static_cast<void>(!write(STDERR_FILENO, text.data(), text.size()));
}

} // namespace

void Worker::PassErrors()
{
    constexpr std::size_t most = 2000;
    std::array<char, PIPE_BUF> buffer; // as many as are taken at once
    const ssize_t size = read(m_errors.get(), buffer.data(), buffer.size());
    if (size > 0)
    {
        const std::string_view text(buffer.data(), static_cast<std::size_t>(size));
        PutError(text);
        m_lastErrors += text;
        if (m_lastErrors.size() > most)
            m_lastErrors.erase(0, m_lastErrors.size() - most);
    }
    else if (size == 0)
        m_errors.Close();
}

std::chrono::nanoseconds Worker::GetTimeUsed() const
{
    clockid_t clock{};
    timespec used{};
    if (clock_getcpuclockid(m_process, &clock) != 0 || clock_gettime(clock, &used) != 0)
        return std::chrono::nanoseconds(0);
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

std::string Worker::End(bool& hasRefused)
{
    int status = 0;
    kill(m_process, SIGKILL); // where it has merely closed its output
    waitpid(m_process, &status, 0);
    constexpr int most = 64; // more than a pipe holds
    const auto hasErrors = [&]
    {
        pollfd file = {m_errors.get(), POLLIN, 0};
        return m_errors.IsOpen() && poll(&file, 1, 0) > 0;
    };
    for (int i = 0; i < most && hasErrors(); ++i)
        PassErrors();
    Close();
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

// --- How long it may take

void Allowance::Begin(const Worker& worker, double seconds)
{
    m_isRunning = true;
    m_seconds = seconds;
    m_usedBefore = worker.GetTimeUsed();
    m_begin = Clock::now();
    m_next = m_begin + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

std::string Allowance::Look(const Worker& worker)
{
    using Seconds = std::chrono::duration<double>;
    constexpr double longestWait = 10; // times as long
    const auto now = Clock::now();
    if (!m_isRunning || now < m_next)
        return {};
    const double used = Seconds(worker.GetTimeUsed() - m_usedBefore).count();
    const double waited = Seconds(now - m_begin).count();
    if (used >= m_seconds)
        return "it took longer than " + WriteJson(m_seconds) + " seconds";
    if (waited >= longestWait * m_seconds)
        return "it has waited for longer than " + WriteJson(longestWait * m_seconds) + " seconds";
    const double left = std::min(m_seconds - used, longestWait * m_seconds - waited);
    m_next = now + std::chrono::duration_cast<Clock::duration>(Seconds(left)) + std::chrono::milliseconds(1);
    return {};
}

} // namespace kelm::tool
