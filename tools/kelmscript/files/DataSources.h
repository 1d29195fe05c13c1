#pragma once

#include "../commandline/Options.h"
#include "../reporting/Failure.h"

#include <kelm/private/errors/Source.h>
#include <klObject/objects/Collector.h>
#include <klObject/objects/IObject.h>
#include <klUtils/xostream.h>

#include <functional>
#include <optional>
#include <string>

namespace kelm::tool
{

// Calls what writes a value. False, after the error was reported, where it finds that the value has no form.
bool TryWrite(const std::function<void()>& write);

enum ETrailingText
{
    TRAILING_WARNS, // text after a data source is reported and passed over
    TRAILING_FAILS,
};

// Reads a data source; `object` then holds what it describes, which is null for the text "null". False, after the error
// was reported, where it cannot be read.
bool LoadDataSource(const SourceText& source, ETrailingText trailing, GcRoot& object);

// The same, where nothing is reported but warnings: how it failed, if it did.
std::optional<Failure> TryLoadDataSource(const SourceText& source, ETrailingText trailing, GcRoot& object);

enum EForm
{
    FORM_INDENTED,
    FORM_COMPACT,
    FORM_JSON,
};
EForm FormOf(const Options& options);

// Writes an object. Writes nothing and gives false, after the error was reported, where it has no such form.
bool WriteObjectText(xostream& os, ptr<IObject> object, EForm form);

// The same as a text; nothing where it has no such form.
std::optional<std::string> ObjectText(ptr<IObject> object, EForm form);

// The same to standard output, with the end of a line.
bool PutObject(ptr<IObject> object, EForm form);

enum EFieldForm
{
    FIELD_TYPED, // type and value
    FIELD_RAW,   // the value alone, of a string its characters
    FIELD_JSON,  // an object of type and value
};
EFieldForm FieldFormOf(const Options& options);

// A field on one line. Nothing, after the error was reported, where there is none.
std::optional<std::string> FieldText(ptr<IObject> object, const std::string& path, EFieldForm form);

// Reads a value into a field by the rules of data sources, so that containers receive it in addition to what they hold;
// with `replaces`, in place of that. False, after the error was reported, where it cannot be read.
bool SetField(ptr<IObject> object, const std::string& path, const std::string& value, bool replaces);

// How much of a path leads to a field. (Those of documents go on into variants, and to members outside of models.)
std::size_t UnderstoodOfPath(ptr<IObject> object, const std::string& path);

// `kelmscript print` and `get`
int RunPrint(const Options& options);
int RunGet(const Options& options);

} // namespace kelm::tool
