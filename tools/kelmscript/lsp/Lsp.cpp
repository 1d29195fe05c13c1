// The loop between an editor, the server, and the worker that has the modules.

#include "Lsp.h"

#include "Worker.h"

#include "../files/Files.h"
#include "../files/LayoutSettings.h"
#include "../files/Modules.h"
#include "../reporting/Diagnostics.h"

#include <kelmLanguage/server/Json.h>
#include <kelmLanguage/server/Server.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelm::tool
{

namespace
{

using language::Json;
using language::ReadJson;
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
    bool ReadText(const std::string& uri, long long edition, std::string_view text) override;
    std::optional<FormatOptions> FindLayout(const std::string& path, const FormatOptions& otherwise,
                                            std::string& why) override;
    std::string WriteShown(const std::string& name, const std::string& text) override
    {
        return m_shown.Write(name, text);
    }

private:
    // What the worker is at, and all that ends with it.
    struct Work
    {
        bool m_hasTypes = false;    // those of its modules have come
        bool m_hasAllTypes = false; // it has those of the file, too
        bool m_readsTexts = false;  // when it has them
        std::string m_uri = {};     // of the text that it reads; empty for none
        long long m_edition = 0;    // of that
        Allowance m_allowance = {}; // for that, or whatever it does
        std::map<std::string, std::pair<long long, std::string>> m_waiting = {}; // texts by URI: the newest
    };

    bool HasWorker() const { return !m_moduleFiles.empty() || m_fileTypes; }
    bool AreTypesAwaited() const { return m_awaitedUntil && Clock::now() < *m_awaitedUntil; }
    bool ReadClient();
    void Poll();
    int Timeout() const;
    void KeepTime();
    void LookAtFiles();
    void StartWorker();
    void StopWorker();
    void ReadWorker();
    void TakeFromWorker(const std::string& body);
    void TakeModuleTypes(const std::string& text);
    void GoOnMaking();
    void EndWorker(const std::string& hungHow);
    void GiveWorkerText();
    void LoadTypesFile();
    void GiveTypes(std::string_view why = {});

    Server m_server{*this,
                    [](std::string_view body) { static_cast<void>(WriteAll(STDOUT_FILENO, language::Framed(body))); }};
    language::FrameReader m_reader;
    ShownTexts m_shown;
    TypeSettings m_given; // on the command line
    TypeSettings m_used;
    bool m_isUsed = false;
    std::vector<std::pair<std::string, FileState>> m_moduleFiles; // by their paths
    FileState m_typesFile{{}};
    std::optional<Clock::time_point> m_awaitedUntil;
    std::optional<TypeCatalogue> m_fileTypes; // of the types' file

    // What is known of the modules outlives their process.
    Worker m_worker;
    Work m_work;
    std::optional<Clock::time_point> m_restartsAt;
    milliseconds m_pause{0};
    std::string m_moduleText; // the catalogue as it was sent
    TypeCatalogue m_moduleTypes;
    Making m_making;                           // of what new objects hold
    std::map<std::string, long long> m_deadly; // texts that ended the worker
    bool m_hasClient = true;
};

std::optional<FormatOptions> Host::FindLayout(const std::string& path, const FormatOptions& otherwise, std::string& why)
{
    const auto complain = [&](const std::string& message, const SourceText* text, std::size_t)
    { why = text != nullptr ? std::string(text->m_name) + ": " + message : message; };
    return LayoutSettings(otherwise, complain).Find(path); // which may be other ones than before
}

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
    StopWorker();
    m_moduleFiles.clear();
    for (const std::string& file : FilesOfModules(m_used.m_modules))
        m_moduleFiles.emplace_back(file, FileState(file));
    m_typesFile = FileState(m_used.m_typesFile);
    m_fileTypes.reset();
    if (!m_used.m_typesFile.empty())
        LoadTypesFile();
    if (HasWorker())
    {
        if (!m_moduleFiles.empty())
            m_awaitedUntil = Clock::now() + s_longestWait;
        StartWorker();
    }
    else if (m_used.m_typesFile.empty())
        GiveTypes("no types are known: name modules, or a file that `kelmscript types --dump` has written, in the "
                  "settings");
}

// The modules' types, and those of the file that have other names.
void Host::GiveTypes(std::string_view why)
{
    TypeCatalogue all = m_moduleTypes;
    if (m_fileTypes)
    {
        const auto add = []<class Entry>(std::vector<Entry>& to, const std::vector<Entry>& from)
        {
            std::set<std::string_view> names;
            for (const Entry& entry : to)
                names.insert(entry.m_name);
            std::vector<Entry> others;
            for (const Entry& entry : from)
                if (!names.contains(entry.m_name))
                    others.push_back(entry);
            to.insert(to.end(), others.begin(), others.end());
        };
        add(all.m_classes, m_fileTypes->m_classes);
        add(all.m_enums, m_fileTypes->m_enums);
        add(all.m_variants, m_fileTypes->m_variants);
        add(all.m_typedefs, m_fileTypes->m_typedefs);
    }
    m_server.TakeTypes(std::make_shared<const Types>(std::move(all)), why);
}

void Host::LoadTypesFile()
{
    std::string why;
    const std::optional<NamedText> file = TryReadFile(m_used.m_typesFile, why);
    if (!file)
        return m_server.Show(UnreadableText(m_used.m_typesFile, why), true);
    auto catalogue = language::ReadTypeCatalogue(file->Source().m_text, why);
    if (!catalogue)
        return m_server.Show(m_used.m_typesFile + ": " + why, true);
    m_fileTypes = std::move(catalogue);
    if (m_moduleFiles.empty() || !m_moduleText.empty()) // by the file alone names of modules would be wrong
        GiveTypes();
}

// A module that is built anew is loaded anew, and so is a file of types.
void Host::LookAtFiles()
{
    if (!m_isUsed)
        return;
    bool isAnyNew = false;
    for (auto& [path, state] : m_moduleFiles)
    {
        const FileState now(path);
        isAnyNew |= std::exchange(state, now) != now;
    }
    if (const FileState now(m_used.m_typesFile); now != m_typesFile)
    {
        m_typesFile = now;
        LoadTypesFile();
        isAnyNew = true;
    }
    if (!isAnyNew)
        return;
    StopWorker();
    if (HasWorker())
        StartWorker();
}

// --- The worker

void Host::StartWorker()
{
    m_restartsAt.reset();
    m_work = {};
    m_work.m_readsTexts = m_moduleFiles.empty() || !m_moduleText.empty(); // types are known
    WorkerTypes types{m_used.m_modules, {}};
    if (m_fileTypes)
        types.m_catalogues.push_back(m_used.m_typesFile);
    if (!m_worker.Start(types))
        return EndWorker("it cannot be started");
    m_work.m_allowance.Begin(m_worker, m_used.m_readingLimit); // for its first word
}

// Until it is started anew, as if there had been none.
void Host::StopWorker()
{
    m_worker.Kill();
    m_work = {};
    m_awaitedUntil.reset();
    m_restartsAt.reset();
    m_pause = milliseconds(0);
    m_moduleText.clear();
    m_moduleTypes = {};
    m_making = {};
    m_deadly.clear();
}

// Where it has not ended by itself, it has been told how.
void Host::EndWorker(const std::string& hungHow)
{
    bool hasRefused = false;
    std::string how = hungHow;
    if (!hungHow.empty())
        m_worker.Kill();
    else
        how = m_worker.End(hasRefused);
    const Work work = std::exchange(m_work, {});
    m_awaitedUntil.reset();
    if (work.m_hasTypes && !m_making.IsOver()) // each class once
    {
        m_making.LeaveOut(how);
        StartWorker();
        m_work.m_waiting = work.m_waiting;
        return;
    }
    for (const auto& [uri, text] : work.m_waiting)
        m_server.ReadAgain(uri);
    if (m_moduleText.empty() && m_fileTypes) // better than none
        GiveTypes();
    if (hasRefused && !work.m_hasTypes) // until they are built anew
        return m_server.Show(how, true);
    if (!work.m_uri.empty())
    {
        m_deadly[work.m_uri] = work.m_edition;
        m_server.TakeFindings(work.m_uri, work.m_edition,
                              {{true, "reading this text ended the process of the modules: " + how, 0, 0}});
    }
    else
        m_server.Show("the process of the modules has ended: " + how, true);
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
        return EndWorker({});
    }
    if (!isOpen)
        EndWorker({});
}

void Host::TakeFromWorker(const std::string& body)
{
    const Json message = ReadJson(body);
    if (const Json* const types = language::Find(message, "types"); types != nullptr && types->is_string())
        return TakeModuleTypes(types->get_ref<const std::string&>());
    if (const Json* const why = language::Find(message, "catalogues"); why != nullptr && why->is_string())
    {
        if (const auto& reason = why->get_ref<const std::string&>(); !reason.empty())
        {
            m_server.Show(reason + "; so names alone are looked at in texts of them", false);
            m_work.m_readsTexts = !m_moduleFiles.empty();
        }
        m_work.m_hasAllTypes = true;
        return GoOnMaking();
    }
    if (m_making.Take(message))
        return GoOnMaking();
    const Json* const told = language::Find(message, "findings");
    if (told == nullptr || !told->is_array() || m_work.m_uri.empty())
        return;
    std::vector<language::ReadFinding> findings;
    for (const Json& finding : *told)
        findings.push_back({language::IsTrue(language::Find(finding, "error")), language::GetText(finding, "message"),
                            static_cast<std::size_t>(language::GetInteger(finding, "begin")),
                            static_cast<std::size_t>(language::GetInteger(finding, "end"))});
    m_work.m_allowance.End();
    m_pause = milliseconds(0);
    m_server.TakeFindings(std::exchange(m_work.m_uri, {}), m_work.m_edition, findings);
    GiveWorkerText();
}

// What creates objects comes last: it may end the process, and the types are known by then.
void Host::TakeModuleTypes(const std::string& text)
{
    m_awaitedUntil.reset();
    m_work.m_hasTypes = true;
    m_work.m_readsTexts = true;
    if (text != m_moduleText)
    {
        std::string why;
        auto catalogue = language::ReadTypeCatalogue(text, why);
        if (!catalogue)
            return m_server.Show(why, true);
        m_moduleText = text;
        m_moduleTypes = std::move(*catalogue);
        m_making.Begin(m_moduleTypes.m_classes);
        GiveTypes();
    }
    if (!m_making.IsOver())
        m_making.Ask(m_worker);
}

void Host::GoOnMaking()
{
    if (!m_making.IsOver())
        return m_work.m_allowance.Begin(m_worker, m_used.m_readingLimit); // for each class
    m_work.m_allowance.End();
    if (const std::string fault = m_making.GetFault(); !fault.empty())
        m_server.Show(fault, true);
    m_work.m_waiting.clear(); // all are read now
    GiveTypes();
}

bool Host::ReadText(const std::string& uri, long long edition, std::string_view text)
{
    if (const auto deadly = m_deadly.find(uri); deadly != m_deadly.end() && deadly->second == edition)
        return true; // what was said of it stays
    if (!m_work.m_readsTexts)
        return false;
    m_work.m_waiting.insert_or_assign(uri, std::pair(edition, std::string(text)));
    GiveWorkerText();
    return true;
}

// One at a time; of those that wait the newest of each document.
void Host::GiveWorkerText()
{
    if (!m_work.m_hasAllTypes || !m_making.IsOver() || !m_work.m_uri.empty() || m_work.m_waiting.empty())
        return;
    auto first = m_work.m_waiting.extract(m_work.m_waiting.begin());
    m_work.m_uri = first.key();
    m_work.m_edition = first.mapped().first;
    m_work.m_allowance.Begin(m_worker, m_used.m_readingLimit);
    m_worker.Send({{"text", std::move(first.mapped().second)}});
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
    const auto looksAt = m_work.m_allowance.IsRunning() ? std::optional(m_work.m_allowance.GetNext()) : std::nullopt;
    for (const auto& time : {m_awaitedUntil, looksAt, m_restartsAt})
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
    if (const std::string how = m_work.m_allowance.Look(m_worker); !how.empty())
        EndWorker(how);
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
        return RunWorker({options.m_modules, options.m_catalogues});
    std::signal(SIGPIPE, SIG_IGN); // an end that is gone is an error like others
    return Host(options).Run();
}

} // namespace kelm::tool
