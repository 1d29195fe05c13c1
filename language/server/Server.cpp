#include <kelmLanguage/server/Server.h>

#include <kelmLanguage/server/Answers.h>
#include <kelmLanguage/server/Uri.h>

#include <klUtils/Version.h>

#include <algorithm>
#include <deque>
#include <exception>
#include <span>

namespace kelm::language
{

namespace
{

enum class State : uint8
{
    Started, // nothing but initialize is answered
    Running,
    ShutDown, // nothing but exit is awaited
    Over,
};

bool IsId(const Json& json)
{
    return json.is_string() || json.is_number_integer();
}

} // namespace

class Server::Implementation
{
public:
    Implementation(ServerHost& host, Send send) : m_send(std::move(send)), m_session(host) {}

    void Receive(std::string_view body);
    void SendError(Json id, ErrorCode code, const std::string& message);
    bool Work(bool areTypesAwaited);
    void TakeTypes(std::shared_ptr<const Types> types, std::string_view why);
    void TakeFindings(const std::string& uri, long long edition, const std::vector<ReadFinding>& findings);
    void ReadAgain(const std::string& uri);
    void Show(std::string_view message, bool isError);

    bool IsOver() const { return m_state == State::Over; }
    int GetExitCode() const { return m_wasShutDown ? 0 : 1; }

private:
    struct Notification
    {
        const char* m_method;
        void (Implementation::*m_take)(const Json& params);
    };
    static std::span<const Notification> GetNotifications();

    void SendMessage(Json message);
    void Notify(const char* method, Json params);

    void Handle(const Json& message);
    Json Answer(const std::string& method, const Json& params);
    Json Initialize(const Json& params);
    void TakeSettings(const Json& settings);

    void Exit(const Json&) { m_state = State::Over; }
    void Cancel(const Json& message);
    void Open(const Json& params);
    void Change(const Json& params);
    void Close(const Json& params);
    void ChangeSettings(const Json& params);
    void ChangeFolders(const Json& params);
    void WatchedFilesChanged(const Json&) { m_session.m_host.UseTypes(m_settings); }

    bool DiagnoseOne();
    void Publish(const std::string& uri, const OpenText& text, Json diagnostics);

    Send m_send;
    Session m_session;
    State m_state = State::Started;
    bool m_wasShutDown = false;
    bool m_hasTypes = false;
    TypeSettings m_settings;
    std::deque<Json> m_queue;
    std::string m_shown; // the last message, which is not repeated
};

// --- Sending

void Server::Implementation::SendMessage(Json message)
{
    message["jsonrpc"] = "2.0";
    // What was read is UTF-8; of what files hold the rest is shown as what it is not.
    m_send(WriteJson(message));
}

void Server::Implementation::Notify(const char* method, Json params)
{
    SendMessage({{"method", method}, {"params", std::move(params)}});
}

void Server::Implementation::SendError(Json id, ErrorCode code, const std::string& message)
{
    SendMessage({{"id", std::move(id)}, {"error", {{"code", code}, {"message", message}}}});
}

void Server::Implementation::Show(std::string_view message, bool isError)
{
    if (message == m_shown)
        return;
    m_shown = message;
    Notify("window/showMessage", {{"type", isError ? 1 : 3}, {"message", message}});
}

// --- The queue

void Server::Implementation::Receive(std::string_view body)
{
    Json message = ReadJson(body);
    if (message.is_discarded())
        return SendError(nullptr, ERROR_PARSE, "the message is no JSON");
    const Json* const method = Find(message, "method");
    const Json* const id = Find(message, "id");
    if (method != nullptr && method->is_string() && id == nullptr && *method == "$/cancelRequest")
        return Cancel(message);
    m_queue.push_back(std::move(message));
}

// Of a request that has not been begun; for others it is too late.
void Server::Implementation::Cancel(const Json& message)
{
    const Json* const cancelled = Find(message, "params", "id");
    if (cancelled == nullptr || !IsId(*cancelled))
        return;
    const auto request =
        std::find_if(m_queue.begin(), m_queue.end(),
                     [&](const Json& waiting)
                     {
                         const Json* const id = Find(waiting, "id");
                         return id != nullptr && Find(waiting, "method") != nullptr && IsId(*id) && *id == *cancelled;
                     });
    if (request == m_queue.end())
        return;
    SendError(*cancelled, ERROR_CANCELLED, "cancelled");
    m_queue.erase(request);
}

bool Server::Implementation::Work(bool areTypesAwaited)
{
    if (IsOver())
        return false;
    if (m_queue.empty())
        return (!areTypesAwaited || m_hasTypes) && DiagnoseOne();
    if (areTypesAwaited && !m_hasTypes && m_state == State::Running)
    {
        const Json* const method = Find(m_queue.front(), "method");
        if (Find(m_queue.front(), "id") != nullptr && method != nullptr && *method != "shutdown")
            return false;
    }
    const Json message = std::move(m_queue.front());
    m_queue.pop_front();
    Handle(message);
    return true;
}

void Server::Implementation::Handle(const Json& message)
{
    static const Json s_none = Json::object();
    const Json* const found = Find(message, "id");
    const bool isRequest = found != nullptr;
    const Json* const method = Find(message, "method");
    if (method == nullptr && (Find(message, "result") != nullptr || Find(message, "error") != nullptr))
        return; // an answer, though nothing was asked
    const Json id = found != nullptr && IsId(*found) ? *found : Json();
    if (method == nullptr || !method->is_string() || (isRequest && id.is_null()))
        return SendError(id, ERROR_INVALID_REQUEST, "the message is no request");
    const std::string& name = method->get_ref<const std::string&>();
    const Json* const given = Find(message, "params");
    const Json& params = given != nullptr ? *given : s_none;
    try
    {
        if (isRequest)
        {
            Json result = Answer(name, params);
            return SendMessage({{"id", id}, {"result", std::move(result)}});
        }
        if (name != "exit" && m_state != State::Running)
            return;
        for (const Notification& notification : GetNotifications())
            if (name == notification.m_method)
                (this->*notification.m_take)(params);
    }
    catch (const RequestError& error)
    {
        if (isRequest)
            SendError(id, error.m_code, error.m_message);
    }
    catch (const std::bad_alloc&)
    {
        if (isRequest)
            SendError(id, ERROR_INTERNAL, "there is not enough memory");
    }
    catch (const std::exception& e)
    {
        if (isRequest)
            SendError(id, ERROR_INTERNAL, e.what());
    }
}

// --- Requests

Json Server::Implementation::Answer(const std::string& method, const Json& params)
{
    if (method == "initialize")
        return Initialize(params);
    if (m_state == State::Started)
        throw RequestError{ERROR_NOT_INITIALIZED, "initialize comes first"};
    if (m_state == State::ShutDown)
        throw RequestError{ERROR_INVALID_REQUEST, "the server is shut down"};
    if (method == "shutdown")
    {
        m_state = State::ShutDown;
        m_wasShutDown = true;
        return nullptr;
    }
    const auto requests = GetRequests();
    const auto request =
        std::find_if(requests.begin(), requests.end(), [&](const Request& r) { return method == r.m_method; });
    if (request == requests.end())
        throw RequestError{ERROR_NO_METHOD, "there is no method '" + method.substr(0, 80) + "'"};
    return request->m_answer(m_session, params);
}

Json Server::Implementation::Initialize(const Json& params)
{
    if (m_state != State::Started)
        throw RequestError{ERROR_INVALID_REQUEST, "initialize comes once"};
    if (const Json* const encodings = Find(params, "capabilities", "general", "positionEncodings");
        encodings != nullptr && encodings->is_array() &&
        std::find(encodings->begin(), encodings->end(), "utf-8") != encodings->end())
        m_session.m_units = Units::Utf8;
    const Json* const ability = Find(params, "capabilities", "textDocument");
    const Json none;
    const Json& can = ability != nullptr ? *ability : none;
    m_session.m_hasSnippets = IsTrue(Find(can, "completion", "completionItem", "snippetSupport"));
    m_session.m_hasHierarchy = IsTrue(Find(can, "documentSymbol", "hierarchicalDocumentSymbolSupport"));
    m_session.m_hasLabelOffsets =
        IsTrue(Find(can, "signatureHelp", "signatureInformation", "parameterInformation", "labelOffsetSupport"));

    const auto addRoot = [&](const Json* uri)
    {
        if (uri == nullptr || !uri->is_string())
            return;
        if (auto path = PathOfUri(uri->get_ref<const std::string&>()))
            m_session.m_roots.push_back(std::move(*path));
    };
    if (const Json* const folders = Find(params, "workspaceFolders"); folders != nullptr && folders->is_array())
        for (const Json& folder : *folders)
            addRoot(Find(folder, "uri"));
    else
        addRoot(Find(params, "rootUri"));
    m_state = State::Running;
    if (const Json* const settings = Find(params, "initializationOptions"))
        TakeSettings(*settings);
    m_session.m_host.UseTypes(m_settings);
    return {{"capabilities", AbilitiesOf(m_session)},
            {"serverInfo", {{"name", "kelmscript"}, {"version", KELM_VERSION_TEXT}}}};
}

// --- Notifications

std::span<const Server::Implementation::Notification> Server::Implementation::GetNotifications()
{
    static constexpr Notification s_notifications[] = {
        {"exit", &Implementation::Exit},
        {"textDocument/didOpen", &Implementation::Open},
        {"textDocument/didChange", &Implementation::Change},
        {"textDocument/didClose", &Implementation::Close},
        {"workspace/didChangeConfiguration", &Implementation::ChangeSettings},
        {"workspace/didChangeWorkspaceFolders", &Implementation::ChangeFolders},
        {"workspace/didChangeWatchedFiles", &Implementation::WatchedFilesChanged},
    };
    return s_notifications;
}

// What the user has set: { "modules": [ ... ], "types": "...", "readingLimit": 10 }.
void Server::Implementation::TakeSettings(const Json& settings)
{
    TypeSettings taken;
    if (const Json* const modules = Find(settings, "modules"); modules != nullptr && modules->is_array())
        for (const Json& module : *modules)
            if (module.is_string())
                taken.m_modules.push_back(module.get<std::string>());
    if (const Json* const types = Find(settings, "types"); types != nullptr && types->is_string())
        taken.m_typesFile = types->get<std::string>();
    if (const Json* const limit = Find(settings, "readingLimit"); limit != nullptr && limit->is_number())
        taken.m_readingLimit = std::clamp(limit->get<double>(), 0.1, 3600.0);
    m_settings = std::move(taken);
}

void Server::Implementation::ChangeSettings(const Json& params)
{
    const Json* const settings = Find(params, "settings", "kelmscript");
    if (settings == nullptr)
        return;
    TakeSettings(*settings);
    m_session.m_host.UseTypes(m_settings);
}

void Server::Implementation::ChangeFolders(const Json& params)
{
    const auto forEach = [&](const char* which, const auto& call)
    {
        if (const Json* const folders = Find(params, "event", which); folders != nullptr && folders->is_array())
            for (const Json& folder : *folders)
                if (const Json* const uri = Find(folder, "uri"); uri != nullptr && uri->is_string())
                    if (const auto path = PathOfUri(uri->get_ref<const std::string&>()))
                        call(*path);
    };
    forEach("removed", [&](const std::string& path) { std::erase(m_session.m_roots, path); });
    forEach("added", [&](const std::string& path) { m_session.m_roots.push_back(path); });
}

void Server::Implementation::Open(const Json& params)
{
    const Json& document = Get(params, "textDocument");
    const std::string& uri = GetText(document, "uri");
    OpenText text(GetText(document, "text"));
    text.m_version = GetInteger(document, "version");
    text.m_edition = ++m_session.m_lastEdition;
    m_session.m_texts.insert_or_assign(uri, std::move(text));
}

void Server::Implementation::Change(const Json& params)
{
    OpenText& text = m_session.GetOpen(params);
    const Json& changes = Get(params, "contentChanges");
    if (!changes.is_array())
        throw RequestError{ERROR_INVALID_PARAMS, "'contentChanges' is no list"};
    text.m_edition = ++m_session.m_lastEdition; // even where one of the changes is wrong
    text.m_isDiagnosed = false;
    for (const Json& change : changes)
    {
        const std::string& inserted = GetText(change, "text");
        const Json* const range = Find(change, "range");
        const Span removed = range != nullptr ? m_session.SpanOf(text, *range) : Span{0, text.GetText().size()};
        text.m_document.Edit(removed, inserted);
        text.m_lines.Edit(text.GetText(), removed, inserted.size());
    }
    text.m_version = GetInteger(Get(params, "textDocument"), "version");
}

void Server::Implementation::Close(const Json& params)
{
    const std::string& uri = GetText(Get(params, "textDocument"), "uri");
    if (m_session.m_texts.erase(uri) > 0)
        Notify("textDocument/publishDiagnostics", {{"uri", uri}, {"diagnostics", Json::array()}});
}

// --- Diagnostics

// When nothing else waits.
bool Server::Implementation::DiagnoseOne()
{
    for (auto& [uri, text] : m_session.m_texts)
    {
        if (text.m_isDiagnosed)
            continue;
        text.m_isDiagnosed = true;
        if (text.IsHuge() || !m_session.m_host.ReadText(uri, text.m_edition, text.GetText()))
            Publish(uri, text, DiagnosticsOf(m_session, text));
        return true;
    }
    return false;
}

void Server::Implementation::Publish(const std::string& uri, const OpenText& text, Json diagnostics)
{
    Notify("textDocument/publishDiagnostics",
           {{"uri", uri}, {"version", text.m_version}, {"diagnostics", std::move(diagnostics)}});
}

void Server::Implementation::TakeTypes(std::shared_ptr<const Types> types, std::string_view why)
{
    m_session.m_types = std::move(types);
    m_hasTypes = true;
    if (!why.empty())
        Show(why, true);
    for (auto& [uri, text] : m_session.m_texts)
        text.m_isDiagnosed = false;
}

void Server::Implementation::ReadAgain(const std::string& uri)
{
    if (const auto text = m_session.m_texts.find(uri); text != m_session.m_texts.end())
        text->second.m_isDiagnosed = false;
}

// Of a text that was another one then, or is closed, they are of no use: the newer one is being read.
void Server::Implementation::TakeFindings(const std::string& uri, long long edition,
                                          const std::vector<ReadFinding>& findings)
{
    const auto text = m_session.m_texts.find(uri);
    if (text != m_session.m_texts.end() && text->second.m_edition == edition && text->second.m_isDiagnosed)
        Publish(uri, text->second, DiagnosticsOf(m_session, text->second, findings));
}

// --- The outside

Server::Server(ServerHost& host, Send send) : m_implementation(std::make_unique<Implementation>(host, std::move(send)))
{
}

Server::~Server() = default;

void Server::Receive(std::string_view body)
{
    m_implementation->Receive(body);
}

void Server::ReceiveFault(std::string_view why)
{
    m_implementation->SendError(nullptr, ERROR_PARSE, std::string(why));
}

bool Server::Work(bool areTypesAwaited)
{
    return m_implementation->Work(areTypesAwaited);
}

void Server::TakeTypes(std::shared_ptr<const Types> types, std::string_view why)
{
    m_implementation->TakeTypes(std::move(types), why);
}

void Server::TakeFindings(const std::string& uri, long long edition, const std::vector<ReadFinding>& findings)
{
    m_implementation->TakeFindings(uri, edition, findings);
}

void Server::ReadAgain(const std::string& uri)
{
    m_implementation->ReadAgain(uri);
}

void Server::Show(std::string_view message, bool isError)
{
    m_implementation->Show(message, isError);
}

bool Server::IsOver() const
{
    return m_implementation->IsOver();
}

int Server::GetExitCode() const
{
    return m_implementation->GetExitCode();
}

} // namespace kelm::language
