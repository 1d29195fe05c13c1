#pragma once

// Reading that goes on behind an error: what was wrong, and where it can be gone on.
//
// A reader goes on where it knows again what comes: at the next member, the next element, the closing bracket. Which of
// them an error leaves depends on what it is that is wrong with the brackets, if anything: one may be missing, or be
// too much. Of these possibilities that one is taken under which the brackets of the following text fit, and what may
// stand in them, for longest.

#include <klKelmScript/api.h>
#include <klKelmScript/private/ReadingRules.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/LexScannerException.h>
#include <klUtils/text/EToken.h>
#include <klUtils/text/ExpressionParser.h>
#include <klUtils/text/private/Cursor.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kelm
{

struct ReadingError
{
    std::string m_message;
    const char* m_place; // where the readers tell it
    SubString m_token;   // what is wrong
    std::optional<KelmAssertionError> m_assertion;
};

// The whole text as a data source, as ParseDataSource reads it. Gives its errors, the first of which is
// ParseDataSource's; `object` is what was read of it where there are none, and `rest` begins at the token behind it, as
// ReadAllErrors came to it. No more than `most` errors are looked for.
KLKELMSCRIPT_API std::vector<ReadingError> ReadAllErrors(SubString text, std::size_t most, ptr<IObject>& object,
                                                         SubString& rest);

// A value by the front door's rules (RuledReading.h), into a constructed variable, or where that is null a data source;
// behind which nothing may stand.
KLKELMSCRIPT_API std::vector<ReadingError> ReadAllErrorsByRules(SubString text, std::size_t most,
                                                                const ReadingRules& rules,
                                                                const ReflectionByteCode& type, void* data);

// --- The inside, for the reader

class ReadingErrors;

// As ParseDataSource(parser) with the errors in `errors`.
ptr<IObject> ReadGoingOn(ExpressionParser& parser, ReadingErrors& errors);
ptr<IObject> ReadGoingOnByRules(ExpressionParser& parser, ReadingErrors& errors, const ReadingRules& rules,
                                const ReflectionByteCode& type, void* data);

class ReadingErrors
{
public:
    // Thrown where reading cannot go on: the text has ended, or there are errors enough.
    struct Done
    {
    };

    ReadingErrors(SubString text, std::size_t most) : m_text(text), m_most(most) {}

    // `previous`: the last token that was read.
    void Add(const LexScannerException& error);
    void Add(const KelmAssertionError& error, const char* previous);

    // The name that the error to be thrown next is about.
    void SetAbout(const char* name) { m_about = name; }

    bool IsEmpty() const { return m_errors.empty(); }
    std::vector<ReadingError> Take() { return std::move(m_errors); }

    // Brackets that are being read.
    class Level
    {
    public:
        Level(ReadingErrors& errors, EToken opening) : m_errors(errors) { m_errors.m_open.push_back(opening); }
        Level(const Level&) = delete;
        Level& operator=(const Level&) = delete;
        ~Level() { m_errors.m_open.pop_back(); }

    private:
        ReadingErrors& m_errors;
    };

    // Where something was wrong in the innermost brackets.
    struct Failure
    {
        const char* m_at = nullptr;       // the token there
        const char* m_item = nullptr;     // if its beginning was wrong: the item
        const char* m_previous = nullptr; // the token before that
        bool m_isEntry = false;           // items have an arrow
        bool m_isBetween = false;         // it was what stands between two items
        bool m_mustEnd = false;           // nothing more may come
    };
    enum EWhere
    {
        W_ITEM,    // an item begins there
        W_CLOSING, // the closing bracket is there
        W_BEHIND,  // they have ended before that without one
    };
    struct Resumption
    {
        EWhere m_where;
        text::Place m_place;
    };
    Resumption FindResumption(const Failure& failure) const;

    // How many items there are from one on.
    ssize_t CountItems(const char* item) const;

private:
    class Tokens;
    class Brackets;

    void Add(std::string message, const char* place, std::optional<KelmAssertionError> assertion);
    SubString TokenAt(const char* place) const;
    SubString NameAt(const char* place) const;
    const char* FindMisfit(Brackets brackets, const char* from) const;
    bool MayBeBehind(const char* from) const;
    bool IsEntry(const char* item) const;
    Resumption Skip(const Failure& failure, const char* from, std::size_t depth) const;

    SubString m_text;
    std::size_t m_most;
    std::vector<ReadingError> m_errors;
    std::vector<EToken> m_open; // the brackets that are being read, the innermost last
    const char* m_about = nullptr;
    std::size_t m_numRepeated = 0;
};

} // namespace kelm
