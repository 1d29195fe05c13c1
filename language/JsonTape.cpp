#include <kelmLanguage/JsonTape.h>

#include <nlohmann/json.hpp>

#include <unordered_set>
#include <utility>

namespace kelm::language
{

namespace
{

constexpr std::size_t s_maxDepth = 1000;

} // namespace

// What nlohmann's parser calls. It tells no places, so that they are found beside it: each call is for the next token.
class TapeMaker
{
public:
    using number_integer_t = int64;
    using number_unsigned_t = uint64;
    using number_float_t = float64;
    using string_t = std::string;
    using binary_t = nlohmann::json::binary_t;

    TapeMaker(std::string_view text, JsonTape& tape, JsonFault& fault) : m_text(text), m_tape(tape), m_fault(fault) {}

    bool null() { return Word(JsonKind::Null); }
    bool boolean(bool) { return Word(JsonKind::Bool); }
    bool number_integer(int64) { return Word(JsonKind::Number); }
    bool number_unsigned(uint64) { return Word(JsonKind::Number); }
    bool number_float(float64, const std::string&) { return Word(JsonKind::Number); }
    bool string(std::string& text) { return Quoted(JsonKind::Text, text); }
    bool binary(binary_t&) { return false; }

    bool start_object(std::size_t) { return Open(JsonKind::Object); }
    bool start_array(std::size_t) { return Open(JsonKind::Array); }
    bool end_object()
    {
        m_names.pop_back();
        return Close();
    }
    bool end_array() { return Close(); }

    bool key(std::string& name)
    {
        Quoted(JsonKind::Name, name);
        const JsonValue& value = m_tape.m_values.back();
        return m_names.back().insert(value.m_text).second ||
               Fail("member '" + std::string(value.m_text) + "' is written twice", value.m_begin);
    }

    bool parse_error(std::size_t position, const std::string&, const nlohmann::json::exception& e)
    {
        // "[json.exception.parse_error.101] parse error at line 1, column 2: syntax error while ...", whose place we
        // have ourselves.
        std::string_view what = e.what();
        if (const std::size_t end = what.find("] "); end != what.npos)
            what.remove_prefix(end + 2);
        if (const std::size_t end = what.find(": "); what.starts_with("parse error at") && end != what.npos)
            what.remove_prefix(end + 2);
        return Fail("it is no JSON: " + std::string(what), position > 0 ? position - 1 : 0);
    }

private:
    bool Fail(std::string message, std::size_t place)
    {
        m_fault = {std::move(message), std::min(place, m_text.size())};
        return false;
    }

    char At(std::size_t i) const { return i < m_text.size() ? m_text[i] : '\0'; }

    // The next token's first character, past white space, comments and punctuation.
    std::size_t FindToken()
    {
        while (true)
        {
            m_end = std::min(m_text.find_first_not_of(" \t\r\n,:", m_end), m_text.size());
            if (At(m_end) != '/')
                return m_end;
            const bool isLine = At(m_end + 1) == '/';
            const std::size_t end = m_text.find(isLine ? "\n" : "*/", m_end + 2);
            m_end = end == m_text.npos ? m_text.size() : end + (isLine ? 1 : 2);
        }
    }

    JsonValue& Add(JsonKind kind, std::size_t begin, std::size_t end)
    {
        m_end = end;
        std::vector<JsonValue>& values = m_tape.m_values;
        return values.emplace_back(JsonValue{kind, begin, end, values.size() + 1, m_text.substr(begin, end - begin)});
    }

    bool Word(JsonKind kind)
    {
        const std::size_t begin = FindToken();
        Add(kind, begin, std::min(m_text.find_first_of(" \t\r\n,:]}/", begin), m_text.size()));
        return true;
    }

    bool Quoted(JsonKind kind, std::string& text)
    {
        const std::size_t begin = FindToken();
        std::size_t end = begin + 1;
        bool hasEscapes = false;
        for (; At(end) != '"' && end < m_text.size(); ++end)
            if (m_text[end] == '\\')
            {
                hasEscapes = true;
                ++end;
            }
        JsonValue& value = Add(kind, begin, end + 1);
        value.m_text =
            hasEscapes ? m_tape.m_decoded.emplace_back(std::move(text)) : m_text.substr(begin + 1, end - begin - 1);
        return true;
    }

    bool Open(JsonKind kind)
    {
        const std::size_t begin = FindToken();
        if (m_open.size() == s_maxDepth)
            return Fail("values are nested to more than " + std::to_string(s_maxDepth) + " levels", begin);
        m_open.push_back(m_tape.size());
        Add(kind, begin, begin + 1);
        if (kind == JsonKind::Object)
            m_names.emplace_back();
        return true;
    }

    bool Close()
    {
        m_end = FindToken() + 1;
        JsonValue& value = m_tape.m_values[m_open.back()];
        m_open.pop_back();
        value.m_end = m_end;
        value.m_next = m_tape.size();
        value.m_text = m_text.substr(value.m_begin, m_end - value.m_begin);
        return true;
    }

    std::string_view m_text;
    JsonTape& m_tape;
    JsonFault& m_fault;
    std::size_t m_end = 0;                                     // of the last token
    std::vector<std::size_t> m_open;                           // arrays and objects
    std::vector<std::unordered_set<std::string_view>> m_names; // of the members of each open object
};

std::optional<JsonTape> JsonTape::Read(std::string_view text, JsonFault& fault)
{
    JsonTape tape;
    TapeMaker maker(text, tape, fault);
    if (!nlohmann::json::sax_parse(text.begin(), text.end(), &maker, nlohmann::json::input_format_t::json, true, true))
        return std::nullopt;
    return tape;
}

} // namespace kelm::language
