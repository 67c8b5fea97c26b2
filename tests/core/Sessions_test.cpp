// Plays the sessions that stand in tests/core/sessions.
#include "tests/core/Session.h"

namespace OpxOpc {
namespace {

using Korvex::Testing::linesOf;
using Korvex::Testing::nameOfSection;
using Korvex::Testing::sectionsOf;
using ::testing::ValuesIn;

// In the time of the clock, or with a watch-dog that runs a hundred times as fast.
template <int speed>
class SessionsOf : public Session, public ::testing::WithParamInterface<std::string> {
protected:
    SessionsOf() : Session(speed) {}

    void playSection(const std::string& file) {
        const auto lines = linesOf(file, GetParam());
        if (lines.at(0) == "single-threaded")
            inSingleThreadedApartment([&] { steps.playAll(std::vector(lines.begin() + 1, lines.end())); });
        else
            steps.playAll(lines);
    }
};

class Connecting : public SessionsOf<1> {};
TEST_P(Connecting, IsAsItsSessionsTell) {
    playSection("core/sessions/connecting.txt");
}
INSTANTIATE_TEST_SUITE_P(Sessions, Connecting, ValuesIn(sectionsOf("core/sessions/connecting.txt")), nameOfSection);

class Values : public SessionsOf<1> {};
TEST_P(Values, IsAsItsSessionsTell) {
    playSection("core/sessions/values.txt");
}
INSTANTIATE_TEST_SUITE_P(Sessions, Values, ValuesIn(sectionsOf("core/sessions/values.txt")), nameOfSection);

class Subscriptions : public SessionsOf<100> {};
TEST_P(Subscriptions, IsAsItsSessionsTell) {
    playSection("core/sessions/subscriptions.txt");
}
INSTANTIATE_TEST_SUITE_P(Sessions, Subscriptions, ValuesIn(sectionsOf("core/sessions/subscriptions.txt")),
                         nameOfSection);

class Recovery : public SessionsOf<100> {};
TEST_P(Recovery, IsAsItsSessionsTell) {
    playSection("core/sessions/recovery.txt");
}
INSTANTIATE_TEST_SUITE_P(Sessions, Recovery, ValuesIn(sectionsOf("core/sessions/recovery.txt")), nameOfSection);

}  // namespace
}  // namespace OpxOpc
