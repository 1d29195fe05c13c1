#include <kelmLanguage/Outline.h>

#include <kelmLanguage/TypedWalk.h>

#include <algorithm>
#include <utility>

namespace kelm::language
{

namespace
{

// More of them no outline shows, nor could anybody read.
constexpr std::size_t s_mostSymbols = 20000;
constexpr std::size_t s_deepest = 64;
constexpr std::size_t s_longestDetail = 40;

class Outliner : public SiteVisitor
{
public:
    explicit Outliner(const Document& document) : m_text(document.GetText()) {}

    bool Enters(const Frame& frame) override
    {
        if (m_open.empty()) // the body of the data source itself
        {
            const Span head = frame.m_head.IsEmpty() ? Span{frame.m_opening, frame.m_opening + 1} : frame.m_head;
            Begin(head, frame.m_head.IsEmpty() ? "data source" : std::string(head.In(m_text)));
            m_symbols[0].m_kind = SymbolKind::Object;
            return true;
        }
        if (m_open.back() == s_none)
            return false;
        Symbol& symbol = m_symbols[m_open.back()];
        symbol.m_kind = frame.m_kind == FrameKind::List  ? SymbolKind::List
                        : frame.m_kind == FrameKind::Map ? SymbolKind::Map
                                                         : SymbolKind::Object;
        if (!frame.m_head.IsEmpty())
            symbol.m_detail = std::string(frame.m_head.In(m_text));
        else if (frame.m_class != nullptr)
            symbol.m_detail = frame.m_class->m_name;
        return m_open.size() < s_deepest;
    }

    void Leaves(const Frame&, Span closing) override
    {
        if (m_open.size() == 1)
            m_symbols[0].m_span.m_end = closing.IsEmpty() ? m_text.size() : closing.m_end;
    }

    void BeginsItem(const Frame& frame) override
    {
        const bool hasName = !frame.m_label.IsEmpty();
        const bool isMember = frame.m_kind == FrameKind::Positional && frame.m_class != nullptr &&
                              frame.m_index < frame.m_class->m_members.size();
        Begin(hasName ? frame.m_label : frame.m_value, hasName    ? std::string(frame.m_label.In(m_text))
                                                       : isMember ? frame.m_class->m_members[frame.m_index].m_name
                                                                  : "[" + std::to_string(frame.m_index) + "]");
    }

    void EndsItem(const Frame& frame) override
    {
        const std::size_t index = m_open.back();
        m_open.pop_back();
        if (index == s_none)
            return;
        Symbol& symbol = m_symbols[index];
        symbol.m_span.m_end = std::max(symbol.m_span.m_end, frame.m_value.m_end);
        if (symbol.m_named.IsEmpty())
            symbol.m_named = frame.m_value;
        if (symbol.m_kind != SymbolKind::Member)
            return;
        if (IsElement(symbol)) // one number among others
            return m_symbols.resize(index);
        const std::string_view value = frame.m_value.In(m_text);
        if (value.size() <= s_longestDetail && value.find('\n') == std::string_view::npos)
            symbol.m_detail = std::string(value);
        // An object in a list is known by the first text that it has.
        if (Symbol& owner = m_symbols[m_open.back()];
            value.starts_with('"') && IsElement(owner) && !owner.m_detail.ends_with('"'))
            owner.m_detail += (owner.m_detail.empty() ? "" : " ") + symbol.m_detail;
    }

    std::vector<Symbol> Take() { return std::move(m_symbols); }

private:
    static constexpr std::size_t s_none = static_cast<std::size_t>(-1);

    static bool IsElement(const Symbol& symbol) { return symbol.m_name.starts_with('['); }

    void Begin(Span named, std::string name)
    {
        const bool isShown = m_symbols.size() < s_mostSymbols;
        m_open.push_back(isShown ? m_symbols.size() : s_none);
        if (isShown)
            m_symbols.push_back({std::move(name), {}, SymbolKind::Member, named, named, m_open.size() - 1});
    }

    std::string_view m_text;
    std::vector<Symbol> m_symbols;
    std::vector<std::size_t> m_open; // of them
};

bool IsLineComment(std::string_view comment)
{
    return !comment.starts_with("/*");
}

// Whether between two comments there is a single line break and nothing else.
bool IsOneBreak(std::string_view between)
{
    return std::count(between.begin(), between.end(), '\n') == 1 &&
           between.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

} // namespace

std::vector<Symbol> OutlineOf(const Document& document, const Types& types)
{
    Outliner outliner(document);
    TypedWalk(document, types).Run(outliner);
    return outliner.Take();
}

std::vector<Fold> FoldsOf(const Document& document)
{
    const std::string_view text = document.GetText();
    std::vector<Fold> folds;
    std::vector<std::size_t> open; // of the brackets among them
    Span lastComment;              // a line of its own, that may go on
    std::size_t commentFold = 0;
    for (std::size_t at = 0; at < text.size();)
    {
        const Part part = ScanPart(text, at);
        at = part.m_span.m_end;
        if (part.m_kind == PartKind::Comment)
        {
            const bool isLine = IsLineComment(part.m_span.In(text));
            if (isLine && !lastComment.IsEmpty() && IsOneBreak(Span{lastComment.m_end, part.m_span.m_begin}.In(text)))
                folds[commentFold].m_span.m_end = part.m_span.m_end;
            else
            {
                commentFold = folds.size();
                folds.push_back({part.m_span, FoldKind::Comment});
            }
            lastComment = isLine ? part.m_span : Span{};
        }
        else if (part.m_kind != PartKind::Space)
        {
            lastComment = {};
            if (IsOpeningBracket(part.m_token))
            {
                open.push_back(folds.size());
                folds.push_back({part.m_span, FoldKind::Brackets});
            }
            else if (IsClosingBracket(part.m_token) && !open.empty())
            {
                folds[open.back()].m_span.m_end = part.m_span.m_end;
                open.pop_back();
            }
        }
    }
    std::erase_if(folds, [&](const Fold& fold) { return fold.m_span.In(text).find('\n') == std::string_view::npos; });
    return folds;
}

} // namespace kelm::language
