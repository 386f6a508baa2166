#include "libutils/expression.h"

#include "libutils/number.h"
#include "libutils/report.h"

#include <iostream>

namespace libutils {

namespace {

constexpr int deepest_nesting = 1000;

enum class kind { number, open, close, times, over, plus, minus, end, invalid };

struct token {
    token(kind k, float v = 0.0f) : is(k), value(v) {}
    kind is;
    float value; // of a number; 0 for everything else, which takes part in sums
};

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}
bool is_terminator(char c) {
    return c == '\0' || c == '\r' || c == ',';
}
bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Takes the tokens off the text one by one.
class token_reader {
public:
    explicit token_reader(const char* text) : at_(text) {}

    token next() {
        while (is_blank(*at_))
            ++at_;
        switch (*at_) {
        case '(':
            return step(kind::open);
        case ')':
            return step(kind::close);
        case '*':
            return step(kind::times);
        case '/':
            return step(kind::over);
        case '+':
            return step(kind::plus);
        case '-':
            return step(kind::minus);
        default:
            if (!is_digit(*at_)) return is_terminator(*at_) ? kind::end : kind::invalid;
            token number(kind::number);
            at_ = read_number(at_, number.value);
            return number;
        }
    }
    const char* position() const { return at_; }

private:
    token step(kind k) {
        ++at_;
        return k;
    }

    const char* at_;
};

// The sum of one level, left to right. The last entry is kept back, because a * or / that follows still
// changes it.
class sum {
public:
    bool empty() const { return empty_; }
    void append(token entry) {
        if (!empty_) add(last_);
        last_ = entry;
        empty_ = false;
    }
    void multiply(float operand) { last_.value *= operand; }
    void divide(float operand) { last_.value /= operand; }

    // Takes the last entry too. A sign may be left without its entry: see pending().
    float total() {
        if (!empty_) add(last_);
        empty_ = true;
        return total_;
    }
    kind pending() const { return pending_; } // the sign that waits for its entry; number when there is none

private:
    // A sign takes the entry after it whatever that is, another sign with its value included.
    void add(token entry) {
        if (pending_ == kind::number && entry.is != kind::number) {
            pending_ = entry.is;
            return;
        }
        total_ = pending_ == kind::minus ? total_ - entry.value : total_ + entry.value;
        pending_ = kind::number;
    }

    float total_ = 0.0f;
    kind pending_ = kind::number;
    token last_ = kind::number;
    bool empty_ = true;
};

class evaluator {
public:
    // Without a stream it writes no messages.
    evaluator(const char* text, std::ostream* error) : reader_(text), error_(error) {}

    float value() { return level(0); }
    // Whether there was nothing to report, and all of the text was used. Then position() is its end.
    bool clean() const { return !mistaken_ && is_terminator(*reader_.position()); }
    const char* position() const { return reader_.position(); }

private:
    // The tokens up to the parenthesis that closes this level.
    float level(int depth) {
        sum entries;
        for (;;) {
            const token t = next();
            switch (t.is) {
            case kind::number:
            case kind::plus:
            case kind::minus:
                entries.append(t);
                break;
            case kind::open:
                entries.append({kind::number, nested(depth)});
                break;
            case kind::times:
            case kind::over:
                if (fold(entries, t.is, depth)) break;
                [[fallthrough]];
            default:
                return close(entries);
            }
        }
    }

    float close(sum& entries) {
        const float total = entries.total();
        if (entries.pending() == kind::plus) report("last '+' detect.");
        if (entries.pending() == kind::minus) report("last '-' detect.");
        return total;
    }

    token next() { return too_deep_ ? token(kind::end) : reader_.next(); }

    float nested(int depth) {
        if (depth < deepest_nesting) return level(depth + 1);
        report("parentheses are nested too deeply.");
        too_deep_ = true;
        return 0.0f;
    }

    // Applies * or / with the operand that follows to the last entry; false after a mistake.
    bool fold(sum& entries, kind operation, int depth) {
        const bool times = operation == kind::times;
        if (entries.empty()) return report(times ? "beginning '*' detect." : "beginning '/' detect.");
        token operand = next();
        if (ends(operand)) return report(times ? "last '*' detect." : "last '/' detect.");
        const bool negative = operand.is == kind::minus;
        if (negative) {
            operand = next();
            if (ends(operand)) return report("last '-' detect.");
        }
        if (operand.is == kind::open)
            operand.value = nested(depth);
        else if (operand.is != kind::number) // a division is reported in the same words
            return report(negative ? "-: right operand is not a value." : "*: right operand is not a value.");
        const float value = negative ? -operand.value : operand.value;
        if (times)
            entries.multiply(value);
        else
            entries.divide(value);
        return true;
    }

    static bool ends(const token& t) { return t.is == kind::end || t.is == kind::invalid; }

    // Always false.
    bool report(const char* message) {
        mistaken_ = true;
        return error_ && libutils::report_to(*error_, message);
    }

    token_reader reader_;
    std::ostream* error_;
    bool mistaken_ = false;
    bool too_deep_ = false;
};

// Where the expression ends. Reports the character that does not belong to it.
const char* find_end(const char* text, std::ostream& error) {
    token_reader reader(text);
    for (;;) {
        switch (reader.next().is) {
        case kind::end:
            return reader.position();
        case kind::invalid: {
            const char c = *reader.position();
            report_to(error, int(static_cast<signed char>(c)), " \n", c, ": warning: invalid char detect.");
            return reader.position();
        }
        default:
            break;
        }
    }
}

} // namespace

double evaluate(const char* text, const char** end, std::ostream* error) {
    // Nearly every field is one number.
    const char* at = text;
    while (is_blank(*at))
        ++at;
    if (is_digit(*at)) {
        float value;
        at = read_number(at, value);
        while (is_blank(*at))
            ++at;
        if (is_terminator(*at)) {
            if (end) *end = at;
            return value;
        }
    }
    // What is wrong with the text's characters is reported before what is wrong with its operators, and a
    // stray parenthesis ends the evaluation, but not the text. So the rare text with mistakes is gone through
    // again.
    evaluator quiet(text, nullptr);
    const float value = quiet.value();
    if (quiet.clean()) {
        if (end) *end = quiet.position();
        return value;
    }
    if (!error) error = &std::cerr;
    at = find_end(text, *error);
    if (end) *end = at;
    return evaluator(text, error).value();
}

} // namespace libutils
