#include "runtime/Ieee1735Rights.h"

#include <cctype>
#include <optional>

namespace ieee1735 {

namespace {

const char* contextName(RightsEval::EvalContextEnum context) {
    switch (context) {
    case RightsEval::Simulation: return "simulation";
    case RightsEval::Synthesis: return "synthesis";
    case RightsEval::Analysis: return "analysis";
    }
    return "";
}

bool endsWith(std::string_view s, std::string_view tail) {
    return s.size() >= tail.size() && s.substr(s.size() - tail.size()) == tail;
}

// Recursive descent over the expression; every value is a string, conditions are
// "true" and "false". A nullopt is an expression that cannot be read.
class Evaluator {
public:
    Evaluator(std::string_view s, RightsEval::EvalContextEnum context) : s_(s), context_(context) {}

    std::optional<std::string> run() {
        auto v = expr(0);
        skip();
        if (!v || i_ != s_.size()) return std::nullopt;
        return v;
    }

private:
    static constexpr unsigned kMaxDepth = 32;

    void skip() {
        while (i_ < s_.size() && std::isspace(static_cast<unsigned char>(s_[i_]))) ++i_;
    }
    bool eat(std::string_view op) {
        skip();
        if (s_.substr(i_, op.size()) != op) return false;
        i_ += op.size();
        return true;
    }
    static std::optional<bool> truth(const std::string& v) {
        std::string l;
        for (char c : v) l += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (l == "true") return true;
        if (l == "false") return false;
        return std::nullopt;
    }
    static std::string text(bool b) { return b ? "true" : "false"; }

    std::optional<std::string> expr(unsigned depth) {
        if (depth > kMaxDepth) return std::nullopt;
        auto cond = disjunction(depth);
        if (!cond || !eat("?")) return cond;
        auto yes = expr(depth + 1);
        if (!yes || !eat(":")) return std::nullopt;
        auto no = expr(depth + 1);
        auto t = truth(*cond);
        if (!no || !t) return std::nullopt;
        return *t ? yes : no;
    }
    std::optional<std::string> disjunction(unsigned depth) {
        auto left = conjunction(depth);
        while (left && eat("||")) {
            auto right = conjunction(depth);
            auto a = truth(*left);
            auto b = right ? truth(*right) : std::nullopt;
            if (!a || !b) return std::nullopt;
            left = text(*a || *b);
        }
        return left;
    }
    std::optional<std::string> conjunction(unsigned depth) {
        auto left = comparison(depth);
        while (left && eat("&&")) {
            auto right = comparison(depth);
            auto a = truth(*left);
            auto b = right ? truth(*right) : std::nullopt;
            if (!a || !b) return std::nullopt;
            left = text(*a && *b);
        }
        return left;
    }
    std::optional<std::string> comparison(unsigned depth) {
        auto left = unary(depth);
        if (!left) return left;
        bool equal = eat("==");
        if (!equal && !eat("!=")) return left;
        auto right = unary(depth);
        if (!right) return std::nullopt;
        return text((*left == *right) == equal);
    }
    std::optional<std::string> unary(unsigned depth) {
        if (depth > kMaxDepth) return std::nullopt;
        skip();
        if (i_ < s_.size() && s_[i_] == '!' && s_.substr(i_, 2) != "!=") {
            ++i_;
            auto v = unary(depth + 1);
            auto t = v ? truth(*v) : std::nullopt;
            if (!t) return std::nullopt;
            return text(!*t);
        }
        return primary(depth);
    }
    std::optional<std::string> primary(unsigned depth) {
        skip();
        if (i_ >= s_.size()) return std::nullopt;
        if (s_[i_] == '(') {
            ++i_;
            auto v = expr(depth + 1);
            if (!v || !eat(")")) return std::nullopt;
            return v;
        }
        if (s_[i_] == '"') {
            size_t e = s_.find('"', i_ + 1);
            if (e == std::string_view::npos) return std::nullopt;
            std::string v(s_.substr(i_ + 1, e - i_ - 1));
            i_ = e + 1;
            return v;
        }
        size_t b = i_;
        while (i_ < s_.size() && (std::isalnum(static_cast<unsigned char>(s_[i_])) || s_[i_] == '_' || s_[i_] == '.'))
            ++i_;
        if (i_ == b) return std::nullopt;
        std::string word(s_.substr(b, i_ - b));
        std::string key;
        for (char c : word) key += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (key == "activity" || endsWith(key, "_activity")) return std::string(contextName(context_));
        return word;
    }

    std::string_view s_;
    size_t i_ = 0;
    RightsEval::EvalContextEnum context_;
};

const Control* lastNamed(const std::vector<Control>& controls, std::string_view name) {
    const Control* found = nullptr;
    for (const Control& c : controls)
        if (c.name == name) found = &c;
    return found;
}

} // namespace

std::string RightsEval::evaluate(std::string_view expression, EvalContextEnum context) {
    return Evaluator(expression, context).run().value_or(std::string());
}

int RightsEval::decryption(const std::vector<Control>& common, const std::vector<Control>& own,
                           EvalContextEnum context) {
    const Control* control = lastNamed(own, "decryption");
    if (!control) control = lastNamed(common, "decryption");
    if (!control) return 0;
    std::string v = evaluate(control->expression, context);
    for (char& c : v) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (v == "true") return 0;
    return v == "false" ? Denied : Unreadable;
}

} // namespace ieee1735
