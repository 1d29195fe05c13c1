// The loop between an editor, the server, and the worker that has the modules.

#include "Lsp.h"

#include "Worker.h"

#include "../Diagnostics.h"
#include "../Files.h"
#include "../Modules.h"

#include <kelmLanguage/server/Json.h>
#include <kelmLanguage/server/Server.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelm::tool
{

namespace
{

using language::Json;
using language::Server;
using language::Types;
using language::TypeSettings;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Requests wait for types that are being loaded, but not for longer: they are to be answered within two seconds.
constexpr milliseconds s_longestWait{1500};
constexpr milliseconds s_shortestPause{500};
constexpr milliseconds s_longestPause{60000};

// What tells that a file is another one than before.
struct FileState
{
    explicit FileState(const std::string& path)
    {
        struct stat state;
        if (stat(path.c_str(), &state) != 0)
            return;
        m_inode = state.st_ino;
        m_size = state.st_size;
        m_seconds = state.st_mtim.tv_sec;
        m_nanoseconds = state.st_mtim.tv_nsec;
    }
    bool operator==(const FileState&) const = default;

    ino_t m_inode = 0;
    off_t m_size = -1;
    time_t m_seconds = 0;
    long m_nanoseconds = 0;
};

// Texts that an editor is shown, which are gone with the server.
class ShownTexts
{
public:
    ShownTexts() = default;
    ShownTexts(const ShownTexts&) = delete;
    ShownTexts& operator=(const ShownTexts&) = delete;
    ~ShownTexts()
    {
        std::error_code ignored;
        if (!m_folder.empty())
            std::filesystem::remove_all(m_folder, ignored);
    }

    std::string Write(std::string name, const std::string& text)
    {
        if (m_folder.empty())
        {
            std::error_code error;
            std::string folder = (std::filesystem::temp_directory_path(error) / "kelmscript-XXXXXX").string();
            if (error || mkdtemp(folder.data()) == nullptr)
                return {};
            m_folder = folder;
        }
        std::replace_if(
            name.begin(), name.end(), [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
        const std::string path = m_folder + "/" + name.substr(0, 100) + ".h";
        return std::ofstream(path, std::ios::binary).write(text.data(), static_cast<std::streamsize>(text.size()))
                   ? path
                   : std::string();
    }

private:
    std::string m_folder;
};

class Host : public language::ServerHost
{
public:
    explicit Host(const Options& options) : m_given{options.m_modules, options.m_typesFile, {}} {}

    int Run();

    void UseTypes(const TypeSettings& settings) override;
    bool ReadsTexts() override { return m_hasModuleTypes; }
    void ReadText(const std::string& uri, long long version, std::string_view text) override;
    std::string WriteShown(const std::string& name, const std::string& text) override
    {
        return m_shown.Write(name, text);
    }

private:
    struct WaitingText
    {
        long long m_version;
        std::string m_text;
    };

    Clock::time_point ReadingEnd() const
    {
        return Clock::now() + milliseconds(static_cast<long long>(1000 * m_used.m_readingLimit));
    }
    bool AreTypesAwaited() const { return m_awaitedUntil && Clock::now() < *m_awaitedUntil; }
    bool ReadClient();
    void Poll();
    int Timeout() const;
    void KeepTime();
    void LookAtFiles();
    void StartWorker();
    void ReadWorker();
    void TakeFromWorker(const std::string& body);
    void EndWorker(bool hasHung);
    void GiveWorkerText();
    void LoadTypesFile();
    void GiveTypes(TypeCatalogue catalogue, std::string_view why);

    Server m_server{*this,
                    [](std::string_view body) { static_cast<void>(WriteAll(STDOUT_FILENO, language::Framed(body))); }};
    language::FrameReader m_reader;
    ShownTexts m_shown;
    Worker m_worker;
    TypeSettings m_given; // on the command line
    TypeSettings m_used;
    bool m_isUsed = false;
    std::vector<FileState> m_files; // modules, then the types' file
    std::optional<Clock::time_point> m_awaitedUntil;
    std::optional<Clock::time_point> m_readsUntil; // the worker, a text
    std::optional<Clock::time_point> m_restartsAt;
    milliseconds m_pause{0};
    bool m_hasModuleTypes = false;                // the worker is at hand
    std::map<std::string, WaitingText> m_waiting; // by URI: the newest
    std::string m_readUri;
    long long m_readVersion = 0;
    std::map<std::string, long long> m_deadly; // texts that ended the worker
    bool m_hasClient = true;
};

// --- Types

void Host::UseTypes(const TypeSettings& settings)
{
    TypeSettings used = m_given;
    used.m_modules.insert(used.m_modules.end(), settings.m_modules.begin(), settings.m_modules.end());
    if (!settings.m_typesFile.empty())
        used.m_typesFile = settings.m_typesFile;
    used.m_readingLimit = settings.m_readingLimit;
    if (m_isUsed && used == m_used)
        return LookAtFiles();
    m_isUsed = true;
    m_used = std::move(used);
    m_files.clear();
    for (const std::string& module : m_used.m_modules)
        m_files.emplace_back(module);
    m_files.emplace_back(m_used.m_typesFile);
    m_pause = milliseconds(0);
    const char* const environment = std::getenv("KELMSCRIPT_MODULES");
    const bool hasModules = !m_used.m_modules.empty() || (environment != nullptr && *environment != '\0');
    if (hasModules)
    {
        m_awaitedUntil = Clock::now() + s_longestWait;
        StartWorker();
    }
    else
        m_worker.Kill();
    if (!m_used.m_typesFile.empty())
        LoadTypesFile();
    else if (!hasModules)
        GiveTypes({}, "no types are known: name modules, or a file that `kelmscript types --dump` has written, in the "
                      "settings");
}

void Host::GiveTypes(TypeCatalogue catalogue, std::string_view why)
{
    m_server.TakeTypes(std::make_shared<const Types>(std::move(catalogue)), why);
}

void Host::LoadTypesFile()
{
    std::string why;
    const std::optional<NamedText> file = TryReadFile(m_used.m_typesFile, why);
    if (!file)
        return m_server.Show(UnreadableText(m_used.m_typesFile, why), true);
    if (auto catalogue = language::ReadTypeCatalogue(file->Source().m_text, why))
        GiveTypes(std::move(*catalogue), {});
    else
        m_server.Show(m_used.m_typesFile + ": " + why, true);
}

// A module that is built anew is loaded anew.
void Host::LookAtFiles()
{
    if (!m_isUsed)
        return;
    bool areModulesNew = false;
    for (std::size_t i = 0; i < m_files.size(); ++i)
    {
        const bool isModule = i < m_used.m_modules.size();
        const FileState now(isModule ? m_used.m_modules[i] : m_used.m_typesFile);
        if (now == m_files[i])
            continue;
        m_files[i] = now;
        if (isModule)
            areModulesNew = true;
        else if (!m_hasModuleTypes && !m_used.m_typesFile.empty())
            LoadTypesFile();
    }
    if (!areModulesNew)
        return;
    m_pause = milliseconds(0);
    m_deadly.clear();
    StartWorker();
}

// --- The worker

void Host::StartWorker()
{
    m_restartsAt.reset();
    m_readsUntil = ReadingEnd(); // its first word
    m_readUri.clear();
    m_hasModuleTypes = false;
    if (!m_worker.Start(m_used.m_modules))
        EndWorker(false);
}

void Host::EndWorker(bool hasHung)
{
    bool hasRefused = false;
    std::string how = "it cannot be started";
    if (hasHung)
        how = "it took longer than " + Json(m_used.m_readingLimit).dump() + " seconds";
    if (hasHung)
        m_worker.Kill();
    else if (m_worker.IsRunning())
        how = m_worker.End(hasRefused);
    m_hasModuleTypes = false;
    m_readsUntil.reset();
    m_awaitedUntil.reset();
    m_waiting.clear();
    if (hasRefused) // until they are built anew
    {
        m_server.Show(how, true);
        return m_server.ReadAgain();
    }
    if (!m_readUri.empty())
    {
        m_deadly[m_readUri] = m_readVersion;
        m_server.TakeFindings(m_readUri, m_readVersion,
                              {{true, "reading this text ended the process of the modules: " + how, 0, 0}});
    }
    else
        m_server.Show("the process of the modules has ended: " + how, true);
    m_readUri.clear();
    m_pause = m_pause == milliseconds(0) ? s_shortestPause : std::min(2 * m_pause, s_longestPause);
    m_restartsAt = Clock::now() + m_pause;
}

void Host::ReadWorker()
{
    std::vector<language::Message> messages;
    const bool isOpen = m_worker.Read(messages);
    try
    {
        for (const language::Message& message : messages)
            TakeFromWorker(message.m_body);
    }
    catch (const language::RequestError&) // modules can do anything there
    {
        return EndWorker(false);
    }
    if (!isOpen)
        EndWorker(false);
}

void Host::TakeFromWorker(const std::string& body)
{
    const Json message = Json::parse(body, nullptr, false);
    if (const Json* const types = language::Find(message, "types"); types != nullptr && types->is_string())
    {
        std::string why;
        auto catalogue = language::ReadTypeCatalogue(types->get_ref<const std::string&>(), why);
        m_hasModuleTypes = true;
        m_readsUntil.reset();
        m_awaitedUntil.reset();
        return catalogue ? GiveTypes(std::move(*catalogue), {}) : m_server.Show(why, true);
    }
    const Json* const told = language::Find(message, "findings");
    if (told == nullptr || !told->is_array() || m_readUri.empty())
        return;
    std::vector<language::ReadFinding> findings;
    for (const Json& finding : *told)
        findings.push_back({language::IsTrue(language::Find(finding, "error")), language::GetText(finding, "message"),
                            static_cast<std::size_t>(language::GetInteger(finding, "begin")),
                            static_cast<std::size_t>(language::GetInteger(finding, "end"))});
    m_readsUntil.reset();
    m_pause = milliseconds(0);
    m_server.TakeFindings(m_readUri, m_readVersion, std::move(findings));
    m_readUri.clear();
    GiveWorkerText();
}

void Host::ReadText(const std::string& uri, long long version, std::string_view text)
{
    if (const auto deadly = m_deadly.find(uri); deadly != m_deadly.end() && deadly->second == version)
        return; // what was said of it stays
    m_waiting.insert_or_assign(uri, WaitingText{version, std::string(text)});
    GiveWorkerText();
}

// One at a time; of those that wait the newest of each document.
void Host::GiveWorkerText()
{
    if (!m_hasModuleTypes || !m_readUri.empty() || m_waiting.empty())
        return;
    const auto first = m_waiting.begin();
    m_readUri = first->first;
    m_readVersion = first->second.m_version;
    const Json request = {{"text", std::move(first->second.m_text)}};
    m_waiting.erase(first);
    m_readsUntil = ReadingEnd();
    m_worker.Send(request.dump(-1, ' ', false, Json::error_handler_t::replace));
}

// --- The loop

// False at the end.
bool Host::ReadClient()
{
    std::array<char, 65536> buffer;
    const ssize_t size = ReadSome(STDIN_FILENO, buffer.data(), buffer.size());
    if (size <= 0)
        return false;
    m_reader.Add({buffer.data(), static_cast<std::size_t>(size)});
    while (const auto message = m_reader.Next())
        if (message->m_fault.empty())
            m_server.Receive(message->m_body);
        else
            m_server.ReceiveFault(message->m_fault);
    return true;
}

int Host::Timeout() const
{
    constexpr int lookAgain = 1000; // at files
    std::optional<Clock::time_point> next;
    for (const auto& time : {m_awaitedUntil, m_readsUntil, m_restartsAt})
        if (time && (!next || *time < *next))
            next = time;
    if (!next)
        return lookAgain;
    const auto left = std::chrono::duration_cast<milliseconds>(*next - Clock::now()).count() + 1;
    return static_cast<int>(std::clamp<long long>(left, 0, lookAgain));
}

void Host::KeepTime()
{
    const auto now = Clock::now();
    if (m_awaitedUntil && *m_awaitedUntil <= now)
        m_awaitedUntil.reset();
    if (m_readsUntil && *m_readsUntil <= now)
        EndWorker(true);
    if (m_restartsAt && *m_restartsAt <= now)
        StartWorker();
}

void Host::Poll()
{
    pollfd files[] = {{m_hasClient ? STDIN_FILENO : -1, POLLIN, 0},
                      {m_worker.IsRunning() ? m_worker.GetOutput() : -1, POLLIN, 0},
                      {m_worker.IsRunning() ? m_worker.GetErrors() : -1, POLLIN, 0},
                      {m_worker.HasToWrite() ? m_worker.GetInput() : -1, POLLOUT, 0}};
    if (poll(files, std::size(files), Timeout()) < 0 && errno != EINTR)
        m_hasClient = false;
    KeepTime();
    if (files[2].revents != 0 && m_worker.IsRunning())
        m_worker.PassErrors();
    if (files[3].revents != 0 && m_worker.IsRunning())
        m_worker.Write();
    if (files[1].revents != 0 && m_worker.IsRunning())
        ReadWorker();
    if (files[0].revents != 0)
        m_hasClient = ReadClient();
    LookAtFiles();
}

bool IsReadable(int file)
{
    pollfd one = {file, POLLIN, 0};
    return poll(&one, 1, 0) > 0;
}

int Host::Run()
{
    while (m_hasClient && !m_server.IsOver())
    {
        Poll();
        // What has come meanwhile may cancel what waits.
        while (m_hasClient && m_server.Work(AreTypesAwaited()))
            while (m_hasClient && IsReadable(STDIN_FILENO))
                m_hasClient = ReadClient();
    }
    while (m_server.Work(false)) // what was asked before the input ended
    {
    }
    return m_server.GetExitCode();
}

} // namespace

int RunLsp(const Options& options)
{
    if (options.m_isWorker)
        return LoadModules(options.m_modules) ? RunWorker() : EXIT_USAGE;
    std::signal(SIGPIPE, SIG_IGN); // an end that is gone is an error like others
    return Host(options).Run();
}

} // namespace kelm::tool
