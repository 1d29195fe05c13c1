#include "Edits.h"

#include "../evaluation/Attempt.h"
#include "../files/DataSources.h"
#include "../files/Files.h"
#include "../reporting/Diagnostics.h"
#include "../reporting/Output.h"
#include "../reporting/Progress.h"

#include <kelm/Error.h>
#include <kelm/private/errors/Suggest.h>
#include <kelmDocument/Document.h>
#include <kelmDocument/Editor.h>
#include <klKelmScript/ParseDataSource.h>
#include <klObject/objects/Collector.h>
#include <klUtils/text/ExpressionParser.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelm::tool
{

namespace
{

struct EditTexts
{
    std::string m_path;
    std::string m_value;
};

// Which of the texts an error is about; null for neither. Two paths are told apart by what the error shows.
const std::string* TextOf(const Error& error, const EditTexts& edit)
{
    if (error.GetColumn() == 0)
        return nullptr;
    if (error.GetSource() == "<value>")
        return &edit.m_value;
    if (error.GetSource() != "<path>")
        return nullptr;
    const bool isSecond =
        error.GetExcerpt().starts_with(edit.m_value + "\n") && !error.GetExcerpt().starts_with(edit.m_path + "\n");
    return isSecond ? &edit.m_value : &edit.m_path;
}

// At its place, where that is in what the command line says.
void ReportEdit(const Error& error, const EditTexts& edit)
{
    const std::string* const text = TextOf(error, edit);
    if (text == nullptr)
        return ReportError(error.GetMessage());
    const std::size_t offset = OffsetOf(*text, error);
    Failure failure{"path", error.GetMessage(), offset, {}};
    if (const std::vector<std::string>& names = error.GetSuggestions(); !names.empty())
        failure.m_notes.push_back({DidYouMean(names), offset});
    Report({error.GetSource(), *text}, failure);
}

// Whether a data source is written to where it was read from, or refuses that.
bool MayBeWritten(const Options& options)
{
    const bool mayBe = !options.m_inPlace || options.m_file != "-";
    if (!mayBe)
        ReportError("standard input cannot be written in place");
    return mayBe;
}

// The pairs of a command line: paths and values.
std::optional<std::vector<EditTexts>> PairsOf(const Options& options)
{
    std::vector<EditTexts> edits{{options.m_path, options.m_value}};
    for (std::size_t i = 0; i + 1 < options.m_more.size(); i += 2)
        edits.push_back({options.m_more[i], options.m_more[i + 1]});
    if (options.m_more.size() % 2 == 0)
        return edits;
    ReportError("the path " + options.m_more.back() + " has no value");
    return std::nullopt;
}

using Change = std::function<Result<bool>(DocumentEditor&, const EditTexts&)>;

// Whether a path has nothing but what paths to fields have: documents know more.
bool HasFieldsAlone(const std::string& path)
{
    for (std::size_t at = path.find('['); at != std::string::npos; at = path.find('[', at + 1))
        if (path.find_first_not_of("[0123456789 ", at) != path.find(']', at))
            return false;
    return true;
}

// Says why an edit was refused. What paths and values to fields are refused for is said as it is everywhere else,
// unless paths of documents lead further.
void Explain(const Document& document, const Error& error, const EditTexts& edit, const Options& options)
{
    const std::string* const about = TextOf(error, edit);
    if (options.m_run == RunSet && HasFieldsAlone(edit.m_path) && about != nullptr)
    {
        GcRoot object;
        const std::string_view text = WithoutByteOrderMark(document.GetText());
        ExpressionParser parser;
        parser.Init({text.data(), text.data() + text.size()});
        object = ParseDataSource(parser); // as the editor has done already
        const std::size_t reached = about == &edit.m_path ? OffsetOf(edit.m_path, error) : edit.m_path.size();
        if (UnderstoodOfPath(object.get(), edit.m_path) >= reached &&
            !SetField(object.get(), edit.m_path, edit.m_value, options.m_replace))
            return;
    }
    ReportEdit(error, edit);
}

// Of several edits, those from one on that are plain enough to be made together; returns how many were.
class Together
{
public:
    Together(const std::vector<EditTexts>& edits, const Options& options) : m_isAddition(options.m_run == RunAdd)
    {
        if (edits.size() == 1)
            return;
        for (const EditTexts& edit : edits)
            if (options.m_run == RunSet || options.m_run == RunAdd)
                m_assignments.push_back({edit.m_path, edit.m_value});
            else if (options.m_run == RunUnset)
                m_paths.push_back(edit.m_path);
    }

    std::size_t MakeSome(DocumentEditor& editor, std::size_t from) const
    {
        if (m_assignments.empty())
            return m_paths.empty() ? 0 : editor.RemoveSome(std::span(m_paths).subspan(from));
        const std::span left = std::span(m_assignments).subspan(from);
        return m_isAddition ? editor.InsertSome(left) : editor.SetSome(left);
    }

private:
    bool m_isAddition;
    std::vector<Assignment> m_assignments; // of `set` and `add`
    std::vector<std::string_view> m_paths; // of `unset`
};

// Makes one after the other, or some of them together. False after an error.
bool MakeEach(Document& document, const std::vector<EditTexts>& edits, const Change& change, const Options& options)
{
    DocumentEditor editor(document);
    const Together together(edits, options);
    // Where that fails, more and more are made alone before it is tried again.
    std::size_t numAlone = 1;
    for (std::size_t i = 0; i < edits.size();)
    {
        const std::size_t made = together.MakeSome(editor, i);
        numAlone = made > 0 ? 1 : 2 * numAlone;
        i += made;
        for (const std::size_t past = std::min(i + numAlone, edits.size()); i < past; ++i)
            if (const Result<bool> result = change(editor, edits[i]); !result)
            {
                Explain(document, result.GetError(), edits[i], options);
                return false;
            }
    }
    return true;
}

// Makes all of the edits, or none.
int EditFile(const Options& options, const std::vector<EditTexts>& edits, const Change& change)
{
    const std::optional<NamedText> file = ReadFile(options.m_file);
    GcRoot object;
    // What follows a data source is an error here as it would be anywhere.
    if (!file || !LoadDataSource(file->Source(), TRAILING_FAILS, object))
        return EXIT_FAILED;
    const Progress progress("editing " + NameOfFile(options.m_file));
    const std::string_view before = file->m_text.View();
    Document document = Document::Parse(std::string(before));
    if (!MakeEach(document, edits, change, options))
        return EXIT_FAILED;
    if (!options.m_inPlace)
    {
        Put(document.GetText());
        return EXIT_OK;
    }
    const bool isDone = document.GetText() == before || ReplaceFile(options.m_file, document.GetText());
    return isDone ? EXIT_OK : EXIT_FAILED;
}

// The object written anew, which is another form of the file.
int SetAndWrite(const Options& options, const std::vector<EditTexts>& edits)
{
    const std::optional<NamedText> file = ReadFile(options.m_file);
    GcRoot object;
    if (!file || !LoadDataSource(file->Source(), TRAILING_FAILS, object))
        return EXIT_FAILED;
    for (const EditTexts& edit : edits)
        if (!SetField(object.get(), edit.m_path, edit.m_value, options.m_replace))
            return EXIT_FAILED;
    const EForm form = FormOf(options);
    if (!options.m_inPlace)
        return PutObject(object.get(), form) ? EXIT_OK : EXIT_FAILED;
    const std::optional<std::string> text = ObjectText(object.get(), form);
    return text && ReplaceFile(options.m_file, *text + "\n") ? EXIT_OK : EXIT_FAILED;
}

} // namespace

int RunSet(const Options& options)
{
    const std::optional<std::vector<EditTexts>> edits = PairsOf(options);
    if (!edits || !MayBeWritten(options))
        return EXIT_USAGE;
    if (FormOf(options) != FORM_INDENTED)
        return SetAndWrite(options, *edits);
    return EditFile(options, *edits,
                    [&](DocumentEditor& editor, const EditTexts& edit) {
                        return options.m_replace ? editor.Set(edit.m_path, edit.m_value)
                                                 : editor.Add(edit.m_path, edit.m_value);
                    });
}

int RunUnset(const Options& options)
{
    if (!MayBeWritten(options))
        return EXIT_USAGE;
    std::vector<EditTexts> edits;
    for (const std::string& path : options.m_more)
        edits.push_back({path, {}});
    return EditFile(options, edits,
                    [](DocumentEditor& editor, const EditTexts& edit) { return editor.Remove(edit.m_path); });
}

int RunAdd(const Options& options)
{
    const std::optional<std::vector<EditTexts>> edits = PairsOf(options);
    if (!edits || !MayBeWritten(options))
        return EXIT_USAGE;
    return EditFile(options, *edits,
                    [](DocumentEditor& editor, const EditTexts& edit)
                    { return editor.Insert(edit.m_path, edit.m_value); });
}

int RunMove(const Options& options)
{
    if (!MayBeWritten(options))
        return EXIT_USAGE;
    return EditFile(options, {{options.m_path, options.m_value}},
                    [](DocumentEditor& editor, const EditTexts& edit)
                    { return editor.Move(edit.m_path, edit.m_value); });
}

} // namespace kelm::tool
