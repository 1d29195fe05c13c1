#pragma once

#include <kelm/api.h>
#include <klUtils/types.h>

#include <string>
#include <string_view>

namespace kelm
{

enum EJsonLayout
{
    JSON_COMPACT, // on one line, without blanks
    JSON_INDENTED,
};

// JSON, written from its beginning to its end: every value is one call, or those between a Begin and its End. In an
// object a name comes before each value.
//
// What JSON has no form for: the floats inf, -inf and nan are the texts "inf", "-inf" and "nan"; octets of texts that
// are not UTF-8 become U+FFFD.
class KELM_API JsonText
{
public:
    explicit JsonText(EJsonLayout layout) : m_layout(layout) {}

    const std::string& GetText() const { return m_text; }

    void BeginObject() { Begin('{'); }
    void EndObject() { End('}'); }
    void BeginArray() { Begin('['); }
    void EndArray() { End(']'); }
    void Name(std::string_view name);

    void Null() { Scalar("null"); }
    void Bool(bool value) { Scalar(value ? "true" : "false"); }
    void Integer(int64 value);
    void Integer(uint64 value);
    void Float(float64 value);
    void Float(float32 value); // in its own shortest digits: 0.1 stays 0.1
    void Text(std::string_view text);

private:
    void Begin(char bracket);
    void End(char bracket);
    void BeginValue();
    void BreakLine();
    void Scalar(std::string_view text);
    template <class T>
    void AnyFloat(T value);
    void Quoted(std::string_view text);

    std::string m_text;
    EJsonLayout m_layout;
    int m_depth = 0;
    bool m_hasElements = false; // of the innermost array or object
    bool m_isBehindName = false;
};

} // namespace kelm
