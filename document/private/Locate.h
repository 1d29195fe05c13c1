#pragma once

// Where a path leads in a document, and in the object that reading it gives: a chain of spots, each with all the places
// of the text that have a part in its value.

#include <kelmDocument/Document.h>
#include <kelmDocument/api.h>
#include <kelmDocument/private/Layout.h>
#include <kelmDocument/private/Spot.h>
#include <kelmDocument/private/Subject.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::editing
{

enum class Purpose : uint8
{
    Find,   // what is there
    Set,    // may be a key that is not there yet, which is then put into the object unless the path is wrong behind it,
            // or another alternative
    Insert, // may be an element behind the last one, or a key that is not there
};

// The chain to what a path names. Throws kelm::Error about the path.
std::vector<Spot> Locate(const Document& document, const Subject& subject, std::string_view path, Purpose purpose);

// The same in an object that no document is known of: spots without mentions.
KELM_DOCUMENT_API std::vector<Spot> LocateIn(const ptr<IObject>& object, std::string_view path, Purpose purpose);

// Takes a key out of the object again that Purpose::Set has put into it, and what is under it: these spots end there.
KELM_DOCUMENT_API void TakeBackNewKey(std::vector<Spot>& spots);

// All of a data source, from its name to the end of its body, behind which something may stand where that is not read.
Span FindDataSource(const Document& document, bool isRestIgnored);

// An error about the path, at a step.
[[noreturn]] void Refuse(std::string_view path, std::size_t step, const std::string& message);

// Of a value that begins with a qualified name: what stands behind that.
Span BehindName(const Document& document, Span value);

} // namespace kelm::editing
