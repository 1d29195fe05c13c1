// Lines from a terminal, with editing, completion and a history. A library of its own, which is loaded at the first
// prompt: nothing else of the tool needs the editor.

#include "../repl/LineReader.h"
#include "History.h"

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <readline/readline.h>

namespace kelm::tool
{

namespace
{

// --- Signals

// Signals arrive as octets in a pipe, so that waiting for input and for signals is one wait.
int s_signalPipe[2] = {-1, -1};

volatile std::sig_atomic_t s_isReading = 0;
volatile std::sig_atomic_t s_endsProcess = 0;          // the signal that does, where it came while a line was read
volatile std::sig_atomic_t* s_isInterrupted = nullptr; // what looks now and then whether it shall end

void OnSignal(int signal)
{
    const bool endsProcess =
        signal == SIGTERM || signal == SIGHUP || (signal == SIGINT && *s_isInterrupted != 0); // which did not help
    if (endsProcess && s_isReading == 0)
    {
        std::signal(signal, SIG_DFL);
        static_cast<void>(raise(signal)); // held back until this returns
        return;
    }
    if (signal == SIGTERM || signal == SIGHUP)
        s_endsProcess = signal;
    if (signal == SIGINT)
        *s_isInterrupted = 1;
    const int error = errno;
    const auto number = static_cast<char>(signal);
    static_cast<void>(!write(s_signalPipe[1], &number, 1)); // a full pipe holds signals enough
    errno = error;
}

void CatchSignals()
{
    if (pipe2(s_signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGINT, SIGWINCH, SIGCONT, SIGTERM, SIGHUP})
        sigaction(signal, &action, nullptr);
}

// --- The editor. It is one for the process and calls back without a context.

struct EditorState
{
    const CompletionSource* m_completions = nullptr;
    std::string m_wordBreaks;
    std::vector<std::string> m_words;
    std::size_t m_nextWord = 0;
    bool m_isDone = false;
    bool m_isAtEnd = false;
    std::string m_line;
};
EditorState s_editor;

void OnLine(char* line)
{
    s_editor.m_isDone = true;
    s_editor.m_isAtEnd = line == nullptr;
    s_editor.m_line = line != nullptr ? line : "";
    std::free(line); // NOLINT: the editor allocates lines with malloc
    rl_callback_handler_remove();
}

char* NextWord(const char*, int state)
{
    if (state == 0)
        s_editor.m_nextWord = 0;
    return s_editor.m_nextWord < s_editor.m_words.size() ? strdup(s_editor.m_words[s_editor.m_nextWord++].c_str())
                                                         : nullptr;
}

char** CompleteWord(const char* word, int start, int end)
{
    Completions completions = s_editor.m_completions->Complete(rl_line_buffer, static_cast<std::size_t>(start),
                                                               static_cast<std::size_t>(end));
    if (completions.m_areFileNames)
        return nullptr; // the editor's own completion
    rl_attempted_completion_over = 1;
    rl_completion_suppress_append = 1;
    s_editor.m_words = std::move(completions.m_words);
    return rl_completion_matches(word, NextWord);
}

char* WordBreaks()
{
    rl_completer_quote_characters = s_editor.m_completions->TakesFile(rl_line_buffer) ? "\"'" : nullptr;
    s_editor.m_wordBreaks = s_editor.m_completions->GetWordBreaks(rl_line_buffer);
    return s_editor.m_wordBreaks.data();
}

class TerminalReader : public LineReader
{
public:
    explicit TerminalReader(const CompletionSource& completions)
    {
        std::setlocale(LC_CTYPE, "C.UTF-8"); // texts are UTF-8 wherever the tool runs
        s_editor.m_completions = &completions;
        CatchSignals();
        rl_readline_name = "kelmscript";
        rl_catch_signals = 0;
        rl_catch_sigwinch = 0;
        rl_attempted_completion_function = CompleteWord;
        rl_completion_word_break_hook = WordBreaks;
        rl_filename_quote_characters = " \t\"'";
        rl_variable_bind("enable-bracketed-paste", "on"); // a block is pasted whole, tabs and all
    }

    bool IsInteractive() const override { return true; }

    ERead Read(ConstStringZ prompt, std::string_view& line) override
    {
        s_isReading = 1;
        const ERead read = ReadLine(prompt, line);
        s_isReading = 0;
        if (s_endsProcess != 0) // with the line's last key: what the line asks for may take long
            Die(s_endsProcess);
        return read;
    }

    void Remember(const std::string& entry) override { m_history.Add(entry); }

private:
    ERead ReadLine(ConstStringZ prompt, std::string_view& line)
    {
        s_editor.m_isDone = false;
        rl_callback_handler_install(prompt, OnLine);
        while (!s_editor.m_isDone)
        {
            pollfd inputs[] = {{STDIN_FILENO, POLLIN, 0}, {s_signalPipe[0], POLLIN, 0}};
            if (poll(inputs, std::size(inputs), -1) < 0)
                continue; // a signal; the pipe tells which
            if (inputs[1].revents != 0 && IsInterrupted())
                return READ_INTERRUPTED;
            if (inputs[0].revents != 0)
                rl_callback_read_char();
        }
        if (s_editor.m_isAtEnd)
        {
            Show("\n");
            return READ_END;
        }
        line = s_editor.m_line;
        return READ_LINE;
    }

    // Does what the next signal asks for; true when the line is to be dropped.
    static bool IsInterrupted()
    {
        char signal = 0;
        if (read(s_signalPipe[0], &signal, 1) != 1)
            return false;
        switch (signal)
        {
        case SIGINT:
            if (*s_isInterrupted == 0) // it has ended something else
                return false;
            *s_isInterrupted = 0;
            DropLine();
            return true;
        case SIGWINCH: rl_resize_terminal(); return false;
        case SIGCONT: Resume(); return false;
        default: Die(signal);
        }
    }

    static void DropLine()
    {
        rl_free_line_state();
        rl_callback_sigcleanup();
        rl_point = rl_end; // what was typed stays readable
        rl_redisplay();
        rl_replace_line("", 0);
        rl_callback_handler_remove();
        Show("^C\n");
    }

    static void Show(ConstStringZ text)
    {
        std::fputs(text, stdout);
        std::fflush(stdout);
    }

    // Stopped and continued: the terminal was someone else's in between.
    static void Resume()
    {
        rl_prep_terminal(1);
        rl_forced_update_display();
    }

    [[noreturn]] static void Die(int signal)
    {
        rl_callback_handler_remove(); // gives the terminal back as it was
        std::signal(signal, SIG_DFL);
        static_cast<void>(raise(signal));
        std::abort();
    }

    History m_history;
};

} // namespace

extern "C" [[gnu::visibility("default")]] LineReader* MakeTerminalReader(const CompletionSource* completions,
                                                                         volatile std::sig_atomic_t* isInterrupted)
{
    s_isInterrupted = isInterrupted;
    return new TerminalReader(*completions);
}

} // namespace kelm::tool
