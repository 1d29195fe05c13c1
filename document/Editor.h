#pragma once

// Changes the values of a document where they are written, and nothing else of it.
//
//     kelm::Document document = kelm::Document::Parse(text);
//     kelm::DocumentEditor editor(document);
//     *editor.Set(".shapes[1].position.x", "-2.5");
//     *editor.Remove(".title");
//
// The document is read by a policy (Policy.h): as a data source of registered classes, or as kelm::Read<T> reads it.
// Comments, layout, order and what is not written stay as they are. A path takes any member (.name), elements ([3]),
// what a map has under a key
// (["two"], the key as data sources write it), and what a variant holds (.Circle); it passes through handles and
// optionals. Indices count the elements of the object that reading gives.
//
// Each call changes the document or, with one error, does not. It reads the document before and after, so that whatever
// comes of it can be read and has the value that was asked for; what no text can say, such as that a list lacks an
// element which creation puts there, is refused. A call returns whether the text is another one now.

#include <kelm/Result.h>
#include <kelmDocument/Document.h>
#include <kelmDocument/Policy.h>
#include <kelmDocument/api.h>

#include <cstddef>
#include <span>
#include <string_view>

namespace kelm
{

struct Assignment
{
    std::string_view m_path;
    std::string_view m_value;
};

class KELM_DOCUMENT_API DocumentEditor
{
public:
    // The document must live as long as this, and may be changed by others between calls.
    explicit DocumentEditor(Document& document, const DocumentPolicy& policy = {})
        : m_document(document), m_policy(policy)
    {
    }

    // Gives something a value, written as data sources write it, in place of what it has. A member that is not written
    // is put where the declaration has it, a key that is not there behind the others. Nothing changes where the value
    // is that one already. A persistent reference is removed by "null".
    Result<bool> Set(std::string_view path, std::string_view value);

    // The same where a value has parts: these are set and added, as reading the value into what is there would. Lists
    // and maps receive what it holds in addition, of a class the members that it names are changed.
    Result<bool> Add(std::string_view path, std::string_view value);

    // Set, or Add, of one after the other, as far as each gives a number, a text or the like another value that is
    // written once: all of them in about the time that one takes. Returns how many it has made; the next one is of
    // another kind, or is refused, and is to be made alone.
    std::size_t SetSome(std::span<const Assignment> assignments);

    // Takes every mention of a member, an element or a key out, with the comments that belong to it: those above it on
    // lines of their own, up to a blank line, and those behind it on the same line. A member then has the value that
    // creation gives it.
    Result<bool> Remove(std::string_view path);

    // The same of one after the other, as far as each is an element, what is under a key, or a member by its name, is
    // written once, holds nothing of which some was taken out before, and no key has something from it: all of them in
    // about the time that one takes. Returns how many it has made, as SetSome does.
    std::size_t RemoveSome(std::span<const std::string_view> paths);

    // Puts an element before the one at an index, or behind the last one; with a list or set as the path, behind the
    // last one, also of one that is not there yet. A key must not be there yet, unless a list or set is under it.
    Result<bool> Insert(std::string_view path, std::string_view value);

    // The same of one after the other, as far as each puts something behind the last one of a list or set that is
    // written once, or under a new key behind those of such a map: all of them in about the time that one takes.
    // Returns how many it has made, as SetSome does.
    std::size_t InsertSome(std::span<const Assignment> additions);

    // Gives what is written under a key or a member's name another one, which must not be there yet.
    Result<bool> Rename(std::string_view path, std::string_view name);

    // Moves a written element with its comments, to be the one at an index of the same list. Of keys and members it is
    // Rename, with the new name as a path.
    Result<bool> Move(std::string_view from, std::string_view to);

private:
    Document& m_document;
    DocumentPolicy m_policy;
};

} // namespace kelm
