#include "com/portable/number_text.h"

#include <algorithm>
#include <charconv>
#include <vector>

#include "com/portable/TextReader.h"

namespace Korvex::Com {
namespace {

// All digits of a decimal number, and the power of ten to multiply them with.
struct DecimalDigits {
    std::string digits;
    int exponent = 0;
};

class NumberParser {
public:
    NumberParser(OpxStringView text, const LocaleConventions& locale) : reader_(text), locale_(locale) {}

    HRESULT parse(Number& result) {
        skipDecoration(u'(');
        const bool isBits = reader_.take(u'&');
        if (isBits ? !takeBits() : !takeDecimal()) return DISP_E_TYPEMISMATCH;
        skipDecoration(u')');
        if (!reader_.atEnd() || isOpen_) return DISP_E_TYPEMISMATCH;
        return isBits ? convertBits(result) : convertDecimal(result);
    }

private:
    // Signs, the currency sign, blanks and a parenthesis, each of them once at most.
    void skipDecoration(OLECHAR parenthesis) {
        for (;;) {
            reader_.skipBlanks();
            if (!takeOnce(u'+', hasPlus_) && !takeOnce(u'-', hasMinus_) && !takeCurrency() &&
                !takeParenthesis(parenthesis)) {
                return;
            }
        }
    }

    bool takeOnce(OLECHAR sign, bool& taken) {
        if (taken || !reader_.take(sign)) return false;
        taken = true;
        return true;
    }

    bool takeCurrency() { return takeOnce(locale_.currencySign, hasCurrency_); }

    bool takeParenthesis(OLECHAR parenthesis) {
        const bool isOpening = parenthesis == u'(';
        if (isOpen_ == isOpening || !reader_.take(parenthesis)) return false;
        isOpen_ = isOpening;
        isParenthesized_ = true;
        return true;
    }

    bool isNegative() const { return hasMinus_ || isParenthesized_; }

    bool takeBits() {
        if (reader_.takeWord(OLESTR("h"))) bitsPerDigit_ = 4;
        if (bitsPerDigit_ == 0 && reader_.takeWord(OLESTR("o"))) bitsPerDigit_ = 3;
        if (bitsPerDigit_ == 0 || hasCurrency_) return false;
        const unsigned base = 1u << bitsPerDigit_;
        while (hexadecimalDigit(reader_.peek()) < base) bitDigits_.push_back(hexadecimalDigit(reader_.take()));
        return !bitDigits_.empty();
    }

    static unsigned hexadecimalDigit(OLECHAR c) {
        if (isDigit(c)) return static_cast<unsigned>(c - u'0');
        const OLECHAR lower = toLower(c);
        return lower >= u'a' && lower <= u'f' ? static_cast<unsigned>(lower - u'a' + 10) : 16;
    }

    bool takeDecimal() {
        takeDigits();
        if (reader_.take(locale_.decimalSign)) {
            const std::size_t integerDigits = decimal_.digits.size();
            takeDigits();
            decimal_.exponent = static_cast<int>(integerDigits) - static_cast<int>(decimal_.digits.size());
        }
        if (decimal_.digits.empty()) return false;
        return !reader_.takeWord(OLESTR("e")) || takeExponent();
    }

    void takeDigits() {
        for (;;) {
            if (isDigit(reader_.peek())) {
                decimal_.digits.push_back(static_cast<char>(reader_.take()));
            } else if (decimal_.digits.empty() || !isThousandsSign(reader_.peek())) {
                return;
            } else {
                reader_.take();
            }
        }
    }

    // A plain blank passes for one that does not break.
    bool isThousandsSign(OLECHAR c) const {
        return c == locale_.thousandsSign || (c == u' ' && locale_.thousandsSign == u'\u00A0');
    }

    bool takeExponent() {
        // Far beyond every type; a longer exponent only has to stay an int.
        constexpr int kLargest = 1'000'000;
        const bool negative = reader_.take(u'-');
        if (!negative) reader_.take(u'+');
        if (!isDigit(reader_.peek())) return false;
        int exponent = 0;
        while (isDigit(reader_.peek())) exponent = std::min(exponent * 10 + (reader_.take() - u'0'), kLargest);
        decimal_.exponent += negative ? -exponent : exponent;
        return true;
    }

    // A sign beside bits is read but means nothing.
    HRESULT convertBits(Number& result) const {
        std::uint64_t bits = 0;
        for (const unsigned digit : bitDigits_) {
            if (bits >> (64 - bitsPerDigit_) != 0) return DISP_E_OVERFLOW;
            bits = bits << bitsPerDigit_ | digit;
        }
        result = BitPattern{bits};
        return S_OK;
    }

    HRESULT convertDecimal(Number& result) const {
        if (const auto exact = ExactNumber::fromDigits(isNegative(), decimal_.digits, decimal_.exponent)) {
            result = *exact;
            return S_OK;
        }
        const std::string text = (isNegative() ? "-" : "") + decimal_.digits + "e" + std::to_string(decimal_.exponent);
        double value = 0;
        const auto status = std::from_chars(text.data(), text.data() + text.size(), value).ec;
        if (status == std::errc::result_out_of_range) {
            const std::size_t leadingZeros = decimal_.digits.find_first_not_of('0');
            const auto significant = static_cast<int>(decimal_.digits.size() - leadingZeros);
            if (significant + decimal_.exponent > 0) return DISP_E_OVERFLOW;
            value = 0;
        }
        result = Real{value, kDouble};
        return S_OK;
    }

    TextReader reader_;
    const LocaleConventions& locale_;
    DecimalDigits decimal_;
    std::vector<unsigned> bitDigits_;
    int bitsPerDigit_ = 0;
    bool hasPlus_ = false;
    bool hasMinus_ = false;
    bool hasCurrency_ = false;
    bool isOpen_ = false;
    bool isParenthesized_ = false;
};

}  // namespace

HRESULT parseNumber(OpxStringView text, const LocaleConventions& locale, Number& result) {
    return NumberParser(text, locale).parse(result);
}

OpxString localized(std::string_view text, const LocaleConventions& locale) {
    OpxString result;
    result.reserve(text.size());
    for (const char c : text) result.push_back(c == '.' ? locale.decimalSign : static_cast<OLECHAR>(c));
    return result;
}

}  // namespace Korvex::Com
