#include "com/portable/date_text.h"

#include <chrono>
#include <cmath>
#include <string>
#include <vector>

#include "com/portable/TextReader.h"
#include "com/portable/automation_time.h"

namespace Korvex::Com {
namespace {

namespace chrono = std::chrono;

constexpr std::size_t kMostDateNumbers = 3;
constexpr std::size_t kMostDigits = 4;

std::optional<chrono::sys_days> makeDay(int year, int month, int day) {
    if (month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
    const chrono::year_month_day date(chrono::year(fullYear(year)), chrono::month(static_cast<unsigned>(month)),
                                      chrono::day(static_cast<unsigned>(day)));
    if (!date.ok()) return std::nullopt;
    return chrono::sys_days(date);
}

int thisYear() {
    const auto today = chrono::floor<chrono::days>(chrono::system_clock::now());
    return static_cast<int>(chrono::year_month_day(today).year());
}

// The parts of a date in a text: numbers whose order is open, and perhaps a month's name.
struct DateParts {
    std::vector<int> numbers;
    int month = 0;

    bool empty() const { return numbers.empty() && month == 0; }
};

std::optional<chrono::sys_days> dayOfNumbers(const std::vector<int>& n, bool dayFirst) {
    if (n.size() == 2) {
        const int year = thisYear();
        if (const auto day = dayFirst ? makeDay(year, n[1], n[0]) : makeDay(year, n[0], n[1])) return day;
        if (const auto day = dayFirst ? makeDay(year, n[0], n[1]) : makeDay(year, n[1], n[0])) return day;
        if (const auto firstOfMonth = makeDay(n[1], n[0], 1)) return firstOfMonth;
        return makeDay(n[0], n[1], 1);
    }
    if (n.size() != 3) return std::nullopt;
    if (const auto day = dayFirst ? makeDay(n[2], n[1], n[0]) : makeDay(n[2], n[0], n[1])) return day;
    if (const auto day = dayFirst ? makeDay(n[2], n[0], n[1]) : makeDay(n[2], n[1], n[0])) return day;
    if (const auto day = makeDay(n[0], n[1], n[2])) return day;
    return makeDay(n[0], n[2], n[1]);
}

std::optional<chrono::sys_days> dayOfNamedMonth(int month, const std::vector<int>& n) {
    if (n.size() == 1) {
        if (const auto day = makeDay(thisYear(), month, n[0])) return day;
        return makeDay(n[0], month, 1);
    }
    if (n.size() != 2) return std::nullopt;
    if (const auto day = makeDay(n[1], month, n[0])) return day;
    return makeDay(n[0], month, n[1]);
}

class DateParser {
public:
    DateParser(OpxStringView text, const LocaleConventions& locale) : reader_(text), locale_(locale) {}

    std::optional<double> parse() {
        for (skipBlanksAndCommas(); !reader_.atEnd(); skipBlanksAndCommas()) {
            if (isDigit(reader_.peek()) ? !takeNumberOrTime() : !takeName()) return std::nullopt;
        }
        if (expectsMore_) return std::nullopt;
        if (date_.empty()) return time_ ? std::optional(automationDate(kAutomationEpoch, *time_)) : std::nullopt;
        const auto day = date_.month != 0 ? dayOfNamedMonth(date_.month, date_.numbers)
                                          : dayOfNumbers(date_.numbers, locale_.dayFirst);
        if (!day) return std::nullopt;
        return automationDate(*day, time_.value_or(TimeOfDay()));
    }

private:
    void skipBlanksAndCommas() {
        do {
            reader_.skipBlanks();
        } while (reader_.take(u','));
    }

    std::optional<int> takeNumber() {
        int value = 0;
        std::size_t digits = 0;
        for (; isDigit(reader_.peek()); ++digits) {
            if (digits == kMostDigits) return std::nullopt;
            value = value * 10 + (reader_.take() - u'0');
        }
        return digits > 0 ? std::optional(value) : std::nullopt;
    }

    bool takeNumberOrTime() {
        const auto number = takeNumber();
        if (!number) return false;
        reader_.skipBlanks();
        if (atTimeSeparator()) return takeTime(*number);
        if (const auto halfDay = takeHalfDay()) return setTime(*number, 0, 0, halfDay);
        if (date_.numbers.size() == kMostDateNumbers) return false;
        date_.numbers.push_back(*number);
        return takeDateSeparator();
    }

    bool atTimeSeparator() const {
        return reader_.peek() == u':' || (locale_.dotSeparatesTime && reader_.peek() == u'.');
    }

    // The minutes and seconds after `hour`, and "AM" or "PM" after them.
    bool takeTime(int hour) {
        int parts[2] = {};
        for (int i = 0; i < 2 && atTimeSeparator(); ++i) {
            reader_.take();
            reader_.skipBlanks();
            const auto number = takeNumber();
            if (!number) return false;
            parts[i] = *number;
            reader_.skipBlanks();
        }
        return setTime(hour, parts[0], parts[1], takeHalfDay());
    }

    enum class HalfDay { Morning, Afternoon };

    std::optional<HalfDay> takeHalfDay() {
        for (const OpxStringView word : {OLESTR("am"), OLESTR("a")}) {
            if (takeWholeWord(word)) return HalfDay::Morning;
        }
        for (const OpxStringView word : {OLESTR("pm"), OLESTR("p")}) {
            if (takeWholeWord(word)) return HalfDay::Afternoon;
        }
        return std::nullopt;
    }

    bool setTime(int hour, int minute, int second, std::optional<HalfDay> halfDay) {
        if (time_ || expectsMore_ || hour > 23 || minute > 59 || second > 59) return false;
        if (halfDay == HalfDay::Morning && hour == 12) hour = 0;
        if (halfDay == HalfDay::Afternoon && hour < 12) hour += 12;
        time_ = TimeOfDay{hour, minute, second};
        return true;
    }

    bool takeName() {
        if (const int month = takeOneOf(locale_.monthNames, 12)) {
            if (date_.month != 0) return false;
            date_.month = month;
            return takeDateSeparator();
        }
        return takeOneOf(locale_.dayNames, 7) != 0;
    }

    // After "1/" there must be more of the date.
    bool takeDateSeparator() {
        reader_.skipBlanks();
        const bool dotSeparates = locale_.dateSeparator == u'.';
        expectsMore_ = reader_.take(u'/') || reader_.take(u'-') || (dotSeparates && reader_.take(u'.'));
        return true;
    }

    // Takes the first of `names` that stands next and returns its number, from 1 to `count`; else 0.
    int takeOneOf(OpxStringView names, int count) {
        for (int index = 0; !names.empty(); ++index) {
            const OpxStringView name = names.substr(0, names.find(u' '));
            if (takeWholeWord(name)) return index % count + 1;
            names.remove_prefix(std::min(name.size() + 1, names.size()));
        }
        return 0;
    }

    bool takeWholeWord(OpxStringView word) {
        TextReader ahead = reader_;
        if (!ahead.takeWord(word) || isLetter(ahead.peek())) return false;
        reader_ = ahead;
        return true;
    }

    static bool isLetter(OLECHAR c) { return (toLower(c) >= u'a' && toLower(c) <= u'z') || (c > 0x7F && !isBlank(c)); }

    TextReader reader_;
    const LocaleConventions& locale_;
    DateParts date_;
    std::optional<TimeOfDay> time_;
    bool expectsMore_ = false;
};

void appendNumber(OpxString& text, int number, bool twoDigits) {
    if (twoDigits && number < 10) text.push_back(u'0');
    for (const char digit : std::to_string(number)) text.push_back(static_cast<OLECHAR>(digit));
}

void appendDay(OpxString& text, const SYSTEMTIME& time, const LocaleConventions& locale) {
    appendNumber(text, locale.dayFirst ? time.wDay : time.wMonth, locale.twoDigitDayAndMonth);
    text.push_back(locale.dateSeparator);
    appendNumber(text, locale.dayFirst ? time.wMonth : time.wDay, locale.twoDigitDayAndMonth);
    text.push_back(locale.dateSeparator);
    appendNumber(text, time.wYear, false);
}

void appendTime(OpxString& text, const SYSTEMTIME& time, const LocaleConventions& locale) {
    const int hour = locale.twelveHourClock ? (time.wHour + 11) % 12 + 1 : time.wHour;
    appendNumber(text, hour, locale.twoDigitHour);
    text.push_back(u':');
    appendNumber(text, time.wMinute, true);
    text.push_back(u':');
    appendNumber(text, time.wSecond, true);
    if (locale.twelveHourClock) text += time.wHour < 12 ? OLESTR(" AM") : OLESTR(" PM");
}

}  // namespace

std::optional<double> parseDate(OpxStringView text, const LocaleConventions& locale) {
    return DateParser(text, locale).parse();
}

std::optional<OpxString> formatDate(double date, const LocaleConventions& locale) {
    SYSTEMTIME time;
    if (!VariantTimeToSystemTime(date, &time)) return std::nullopt;
    const double whole = std::trunc(date);
    const bool hasDay = whole != 0;
    const bool hasTime = date != whole || !hasDay;
    OpxString text;
    if (hasDay) appendDay(text, time, locale);
    if (hasDay && hasTime) text.push_back(u' ');
    if (hasTime) appendTime(text, time, locale);
    return text;
}

}  // namespace Korvex::Com
