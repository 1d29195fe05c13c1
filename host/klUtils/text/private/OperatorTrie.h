#pragma once

// Longest match over the operators' spellings: a trie built from their table at compile time. Every beginning of an
// operator is an operator itself, so scanning follows the trie as far as it goes and never backs up.

#include <klUtils/text/EToken.h>
#include <klUtils/types.h>

#include <array>

namespace kelm
{

struct OperatorTrie
{
    using Node = uint8; // 0 is the root, and "no such node" as a successor

    static constexpr int MaxNodes = s_numOperators + 1;
    static constexpr int MaxSymbols = 32;

    std::array<uint8, 256> m_symbol{}; // the column of each operator character; 0 for every other byte
    std::array<std::array<Node, MaxSymbols>, MaxNodes> m_next{};
    std::array<EToken, MaxNodes> m_token{};
    std::array<EToken, 256> m_tokenOfChar{}; // the operators of one character
    std::array<Node, 256> m_nodeOfChar{};    // and their nodes
    int m_numNodes = 1;
    int m_numSymbols = 1;

    constexpr OperatorTrie()
    {
        for (EToken& token : m_token)
            token = TOKEN_UNDEF;
        for (const OperatorSpelling& row : s_operatorSpellings)
            Add(row);
    }

    // The operator of one character.
    constexpr EToken TokenOf(char c) const { return m_tokenOfChar[static_cast<unsigned char>(c)]; }

    // Every node stands for an operator, so that longest match needs no way back.
    constexpr bool IsClosed() const
    {
        for (int node = 1; node < m_numNodes; ++node)
            if (m_token[static_cast<std::size_t>(node)] == TOKEN_UNDEF)
                return false;
        return m_numNodes == s_numOperators + 1 && m_numSymbols <= MaxSymbols;
    }

private:
    constexpr void Add(const OperatorSpelling& row)
    {
        std::size_t node = 0;
        for (const char* c = row.m_text; *c != '\0'; ++c)
        {
            uint8& symbol = m_symbol[static_cast<unsigned char>(*c)];
            if (symbol == 0)
                symbol = static_cast<uint8>(m_numSymbols++);
            Node& next = m_next[node][symbol];
            if (next == 0)
                next = static_cast<Node>(m_numNodes++);
            node = next;
        }
        m_token[node] = row.m_token;
        if (row.m_text[1] == '\0')
        {
            m_tokenOfChar[static_cast<unsigned char>(row.m_text[0])] = row.m_token;
            m_nodeOfChar[static_cast<unsigned char>(row.m_text[0])] = static_cast<Node>(node);
        }
    }
};

inline constexpr OperatorTrie s_operatorTrie;
static_assert(s_operatorTrie.IsClosed());

// Which two characters begin an operator of more than one, or a comment: a bit for each character that can be second.
struct OperatorPairs
{
    std::array<uint16, 256> m_seconds{}; // by the first character
    std::array<uint16, 256> m_bit{};     // by the second one

    constexpr OperatorPairs()
    {
        for (const OperatorSpelling& row : s_operatorSpellings)
            if (row.m_text[1] != '\0')
                Add(row.m_text[0], row.m_text[1]);
        Add('/', '/');
        Add('/', '*');
    }

    constexpr bool Has(char first, char second) const
    {
        return (m_seconds[static_cast<unsigned char>(first)] & m_bit[static_cast<unsigned char>(second)]) != 0;
    }

private:
    constexpr void Add(char first, char second)
    {
        uint16& bit = m_bit[static_cast<unsigned char>(second)];
        if (bit == 0)
            bit = m_freeBit;
        if (bit == m_freeBit)
            m_freeBit = static_cast<uint16>(m_freeBit << 1);
        m_seconds[static_cast<unsigned char>(first)] |= bit;
    }

    uint16 m_freeBit = 1;
};

inline constexpr OperatorPairs s_operatorPairs;
static_assert(s_operatorPairs.Has('<', '=') && s_operatorPairs.Has('/', '*') && !s_operatorPairs.Has('-', '+'));

// The operator whose beginning, up to `p`, is that node.
inline EToken ScanRestOfOperator(std::size_t node, const char*& p, const char* end)
{
    for (; p != end; ++p)
    {
        const std::size_t symbol = s_operatorTrie.m_symbol[static_cast<unsigned char>(*p)];
        if (symbol == 0)
            break;
        const std::size_t next = s_operatorTrie.m_next[node][symbol];
        if (next == 0)
            break;
        node = next;
    }
    return s_operatorTrie.m_token[node];
}

// The operator that begins at `p`, which is advanced past it. The first character must begin an operator.
inline EToken ScanOperator(const char*& p, const char* end)
{
    const std::size_t node = s_operatorTrie.m_nodeOfChar[static_cast<unsigned char>(*p)];
    return ScanRestOfOperator(node, ++p, end);
}

// The same where its first two characters begin one of more than one.
inline EToken ScanLongOperator(const char*& p, const char* end)
{
    const std::size_t first = s_operatorTrie.m_nodeOfChar[static_cast<unsigned char>(p[0])];
    const std::size_t node = s_operatorTrie.m_next[first][s_operatorTrie.m_symbol[static_cast<unsigned char>(p[1])]];
    p += 2;
    return ScanRestOfOperator(node, p, end);
}

} // namespace kelm
