#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "core/RecordsetConvert.h"
#include "core/RecordsetFilter.h"
#include "core/Text.h"
#include "core/basDate.h"
#include "core/basText.h"

namespace kr {

namespace {

/// Deeper brackets are refused, so that a hostile text can't exhaust the stack.
constexpr int kMaxDepth = 64;

struct Token {
    enum class Kind { End, Bad, Field, Word, Operator, Text, Date, Number, Open, Close };
    Kind kind = Kind::End;
    std::string text;
    double number = 0;
};

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isWordChar(char c) {
    return isDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
           (c & 0x80) != 0;
}
bool isWildcard(char c) { return c == '*' || c == '%'; }

class Lexer {
public:
    explicit Lexer(std::string_view text) : m_rest(text) {}

    Token Next() {
        while (!m_rest.empty() && isBlank(m_rest.front()))
            m_rest.remove_prefix(1);
        if (m_rest.empty())
            return {};
        const char c = m_rest.front();
        if (c == '\'')
            return quoted();
        if (c == '[')
            return upTo(']', Token::Kind::Field);
        if (c == '#')
            return upTo('#', Token::Kind::Date);
        if (c == '(' || c == ')')
            return take(1, c == '(' ? Token::Kind::Open : Token::Kind::Close);
        if (c == '=' || c == '<' || c == '>')
            return comparison();
        if (isDigit(c) || c == '.' || c == '-' || c == '+' || c == '$')
            return number();
        size_t size = 0;
        while (size < m_rest.size() && isWordChar(m_rest[size]))
            ++size;
        return size > 0 ? take(size, Token::Kind::Word) : take(1, Token::Kind::Bad);
    }

private:
    Token take(size_t size, Token::Kind kind) {
        Token token{kind, std::string(m_rest.substr(0, size)), 0};
        m_rest.remove_prefix(size);
        return token;
    }
    Token bad() { return take(m_rest.size(), Token::Kind::Bad); }

    Token quoted() {
        Token token{Token::Kind::Text, {}, 0};
        for (size_t i = 1; i < m_rest.size(); ++i) {
            if (m_rest[i] != '\'') {
                token.text += m_rest[i];
            } else if (i + 1 < m_rest.size() && m_rest[i + 1] == '\'') {
                token.text += '\'';
                ++i;
            } else {
                m_rest.remove_prefix(i + 1);
                return token;
            }
        }
        return bad(); // no closing quote
    }

    Token upTo(char end, Token::Kind kind) {
        const size_t at = m_rest.find(end, 1);
        if (at == std::string_view::npos)
            return bad();
        Token token{kind, std::string(m_rest.substr(1, at - 1)), 0};
        m_rest.remove_prefix(at + 1);
        return token;
    }

    Token comparison() {
        const std::string_view two = m_rest.substr(0, 2);
        return take(two == "<>" || two == "<=" || two == ">=" ? 2 : 1, Token::Kind::Operator);
    }

    Token number() {
        size_t at = m_rest.front() == '-' || m_rest.front() == '+' ? 1 : 0;
        const bool negative = m_rest.front() == '-';
        if (at < m_rest.size() && m_rest[at] == '$')
            ++at;
        if (at == m_rest.size() || (!isDigit(m_rest[at]) && m_rest[at] != '.'))
            return bad();
        const char* begin = m_rest.data() + at;
        double value = 0;
        const auto [end, error] = std::from_chars(begin, m_rest.data() + m_rest.size(), value);
        if (error != std::errc())
            return bad();
        Token token = take(at + static_cast<size_t>(end - begin), Token::Kind::Number);
        token.number = negative ? -value : value;
        return token;
    }

    std::string_view m_rest;
};

class Parser {
public:
    Parser(std::string_view text, const RecordsetData& data) : m_lexer(text), m_data(data) {
        advance();
    }

    std::optional<FilterNode> Parse() {
        FilterNode root = either(0);
        if (m_failed || m_token.kind != Token::Kind::End)
            return std::nullopt;
        return root;
    }

private:
    void advance() { m_token = m_lexer.Next(); }
    bool atWord(std::string_view word) const {
        return m_token.kind == Token::Kind::Word && EqualNoCase(m_token.text, word);
    }
    FilterNode fail() {
        m_failed = true;
        return {};
    }

    template <class Part>
    FilterNode joined(std::string_view word, FilterNode::Kind kind, Part part) {
        FilterNode first = part();
        if (m_failed || !atWord(word))
            return first;
        FilterNode node;
        node.kind = kind;
        node.parts.push_back(std::move(first));
        while (!m_failed && atWord(word)) {
            advance();
            node.parts.push_back(part());
        }
        return node;
    }
    FilterNode either(int depth) {
        return joined("OR", FilterNode::Kind::Or, [&] { return both(depth); });
    }
    FilterNode both(int depth) {
        return joined("AND", FilterNode::Kind::And, [&] { return single(depth); });
    }
    FilterNode single(int depth) {
        if (m_token.kind != Token::Kind::Open)
            return clause();
        if (depth >= kMaxDepth)
            return fail();
        advance();
        FilterNode node = either(depth + 1);
        if (m_token.kind != Token::Kind::Close)
            return fail();
        advance();
        return node;
    }

    FilterNode clause() {
        FilterNode node;
        if (m_token.kind != Token::Kind::Field && m_token.kind != Token::Kind::Word)
            return fail();
        node.clause.field = m_data.FieldIndex(m_token.text);
        if (node.clause.field < 0)
            return fail();
        node.clause.type = m_data.Fields()[static_cast<size_t>(node.clause.field)].type;
        advance();
        const bool like = atWord("LIKE");
        if (!like && !comparison(node.clause))
            return fail();
        advance();
        if (!(like ? pattern(node.clause) : value(node.clause)))
            return fail();
        advance();
        return node;
    }

    bool comparison(FilterClause& clause) const {
        using Op = FilterClause::Op;
        static constexpr std::pair<std::string_view, Op> kOps[] = {
            {"=", Op::Equal},   {"<>", Op::NotEqual},  {"<", Op::Less},
            {">", Op::Greater}, {"<=", Op::LessEqual}, {">=", Op::GreaterEqual},
        };
        if (m_token.kind != Token::Kind::Operator)
            return false;
        for (const auto& [text, op] : kOps)
            if (m_token.text == text)
                clause.op = op;
        const bool ordered = clause.op != Op::Equal && clause.op != Op::NotEqual;
        return !(ordered && clause.type == FieldType::Boolean);
    }

    /// LIKE: 'x', 'x*' and '*x*'; a wildcard elsewhere is an error, as is a field that is no text.
    bool pattern(FilterClause& clause) const {
        if (m_token.kind != Token::Kind::Text ||
            !(IsTextField(clause.type) || clause.type == FieldType::Variant))
            return false;
        std::string_view text = m_token.text;
        const bool open = !text.empty() && isWildcard(text.back());
        if (open)
            text.remove_suffix(1);
        const bool anywhere = open && !text.empty() && isWildcard(text.front());
        if (anywhere)
            text.remove_prefix(1);
        if (std::any_of(text.begin(), text.end(), isWildcard))
            return false;
        clause.op = anywhere ? FilterClause::Op::Contains
                    : open   ? FilterClause::Op::StartsWith
                             : FilterClause::Op::Equal;
        clause.text = Fold(text);
        return true;
    }

    bool value(FilterClause& clause) const {
        clause.number = numberFor(clause.type);
        if (clause.number && clause.type == FieldType::Boolean)
            clause.number = *clause.number != 0 ? -1 : 0; // any number but 0 stands for True
        const bool isValue = m_token.kind == Token::Kind::Text || clause.number.has_value() ||
                             m_token.kind == Token::Kind::Date;
        clause.text = Fold(m_token.text);
        if (IsTextField(clause.type) || clause.type == FieldType::Variant)
            return isValue;
        return clause.number.has_value();
    }

    /// The value as the number that the cells of such a field compare with; dates as seconds.
    std::optional<double> numberFor(FieldType type) const {
        if (m_token.kind == Token::Kind::Number)
            return type == FieldType::Date ? seconds(Value(m_token.number)) : m_token.number;
        const bool isText = m_token.kind == Token::Kind::Text;
        if ((isText && type == FieldType::Date) || m_token.kind == Token::Kind::Date)
            return type == FieldType::Date || type == FieldType::Variant
                       ? seconds(Value(m_token.text))
                       : std::nullopt;
        const bool truth = m_token.kind == Token::Kind::Word || type == FieldType::Boolean;
        if (truth && EqualNoCase(m_token.text, "True"))
            return -1;
        if (truth && EqualNoCase(m_token.text, "False"))
            return 0;
        return isText ? ParseNumber(m_token.text) : std::nullopt;
    }

    static std::optional<double> seconds(const Value& value) {
        try {
            const Value date = ConvertToField({"date", FieldType::Date, 0}, value);
            return static_cast<double>(date.get<Time>()->time_since_epoch().count());
        } catch (const std::invalid_argument&) {
            return std::nullopt;
        }
    }

    Lexer m_lexer;
    const RecordsetData& m_data;
    Token m_token;
    bool m_failed = false;
};

} // namespace

std::shared_ptr<const RecordsetFilter> RecordsetFilter::Parse(std::string_view text,
                                                              const RecordsetData& data) {
    std::optional<FilterNode> root = Parser(text, data).Parse();
    if (!root)
        return nullptr;
    return std::shared_ptr<const RecordsetFilter>(new RecordsetFilter(std::move(*root)));
}

} // namespace kr
