#include "bench/Nmea.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <sstream>
#include <string>

namespace bench {
namespace {

using namespace std::chrono;
using namespace std::chrono_literals;

/** The sentence of `body` with its checksum. */
std::string line(const std::string& body) {
    unsigned sum = 0;
    for (const char character : body) {
        sum ^= static_cast<unsigned char>(character);
    }
    char end[8];
    std::snprintf(end, sizeof end, "*%02X\r\n", sum & 0xFF);
    return "$" + body + end;
}

template <typename... Bodies>
NmeaLog read(const Bodies&... bodies) {
    std::istringstream input((line(bodies) + ...));
    return readNmea(input);
}

/** Channels that have these satellites, in this order. */
template <typename... Numbers>
auto areChannelsOf(Numbers... numbers) {
    return testing::ElementsAre(testing::Field(&Channel::number, numbers)...);
}

constexpr const char* rmc = "GPRMC,235959.408,A,3854.5087,N,07726.4523,W,0.0,0.0,280224,10.5,W,A";
constexpr const char* gga = "GPGGA,235959.408,3854.5087,N,07726.4523,W,2,05,1.41,268.8,M,,M,,";

TEST(Nmea, CycleTellsTimeValidityAndSatellites) {
    const NmeaLog log = read(rmc, gga, "GPGSA,A,3,03,07,65,,,,,,,,,,1.73,1.41,1.0",
                             "GPGSV,2,1,05,03,41,000,46,07,60,360,99,08,,,35,11,-2,148,",
                             "GPGSV,2,2,05,65,90,012,31", "GPVTG,0.0,T,10.5,M,0.0,N,0.0,K");
    ASSERT_EQ(log.states.size(), 1U);
    const ReceiverState& state = log.states[0];
    EXPECT_EQ(state.date, 2024y / February / 28);
    EXPECT_EQ(state.timeOfDay, 23h + 59min + 59s + 408ms);
    EXPECT_TRUE(state.positionValid);
    EXPECT_EQ(state.positionQuality, 2U);
    EXPECT_DOUBLE_EQ(state.magneticVariation, -10.5);
    EXPECT_NEAR(state.precision.east, 1.0, 0.01);
    EXPECT_DOUBLE_EQ(state.precision.up, 1.0);

    // Those in use come first, and only who has a place in the sky is a satellite.
    EXPECT_THAT(state.channels, areChannelsOf(3U, 7U, 65U, 8U, 11U));
    EXPECT_EQ(state.channels[2].state, ChannelState::TrackingData);
    EXPECT_EQ(state.channels[3].state, ChannelState::TrackingCode);
    EXPECT_EQ(state.channels[4].state, ChannelState::Searching);
    EXPECT_EQ(state.channels[1].signal, 63U);
    ASSERT_EQ(state.satellites.size(), 4U);
    EXPECT_EQ(state.satellites[1].azimuth, 0);
    EXPECT_EQ(state.satellites[3].elevation, -2);
    EXPECT_EQ(log.counts.passedOver, 1U);
    EXPECT_EQ(log.counts.unreadable, 0U);
}

TEST(Nmea, CyclesAreToldApart) {
    struct Case {
        const char* name;
        NmeaLog log;
        std::size_t cycles;
    };
    const char* gsv = "GPGSV,1,1,01,03,41,050,46";
    const char* gsa = "GNGSA,A,3,03,,,,,,,,,,,,1,1,1";
    const Case cases[] = {
        {"head repeats", read(rmc, gga, gsv, rmc, gga, gsv), 2},
        {"second kind lost", read(rmc, gga, rmc, rmc, gga), 3},
        {"head lost", read(gga, rmc, rmc, gga, rmc), 3},
        {"begins with satellites", read(gsv, gsa, gga, gsv, gsa, gga), 2},
        {"two GSA in a row", read(gsa, gsa, rmc, gsa, gsa, rmc), 2},
        {"parts are no new cycle",
         read("GPGSV,2,1,05,03,41,050,46", "GPGSV,2,2,05,04,41,050,46", rmc,
              "GPGSV,2,2,05,05,41,050,46"),
         1},
        {"talkers side by side",
         read("GNRMC,,V,,,,,,,,,,N", gsv, "GLGSV,1,1,01,70,41,050,46", "GNRMC,,V,,,,,,,,,,N"), 2},
        {"nothing of ours", read("GPVTG,,T,,M,,N,,K,N", "PGRME,1"), 0},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(each.log.states.size(), each.cycles) << each.name;
        for (std::size_t index = 1; index < each.log.states.size(); ++index) {
            EXPECT_DOUBLE_EQ(each.log.states[index].timeOfValidity,
                             each.log.states[index - 1].timeOfValidity + 1)
                << each.name;
        }
    }
}

TEST(Nmea, ValidityTakesBothSentencesAndTheirLack) {
    const auto valid = [](const NmeaLog& log) { return log.states.at(0).positionValid; };
    EXPECT_TRUE(valid(read("GPRMC,,A,,,,,,,,,")));
    EXPECT_TRUE(valid(read("GPGGA,,,,,,1,,,,M,,M,,")));
    EXPECT_FALSE(valid(read("GPRMC,,V,,,,,,,,,", "GPGGA,,,,,,8,,,,M,,M,,")));
    EXPECT_FALSE(valid(read("GPRMC,,A,,,,,,,,,", "GPGGA,,,,,,0,,,,M,,M,,")));
    EXPECT_FALSE(valid(read("GPRMC,,,,,,,,,,,")));
    EXPECT_FALSE(valid(read("GPGSV,1,1,01,03,41,050,46")));

    const ReceiverState blank = read("GPRMC,,V,,,,,,,,,,N", "GPGGA,,,,,,0,,,,M,,M,,").states.at(0);
    EXPECT_FALSE(blank.date.has_value());
    EXPECT_FALSE(blank.timeOfDay.has_value());
    EXPECT_EQ(blank.magneticVariation, 0.0);
    const ReceiverState leap = read("GPRMC,235960,A,,,,,,,290224,,").states.at(0);
    EXPECT_EQ(leap.timeOfDay, 23h + 59min + 59s);
    EXPECT_EQ(leap.date, 2024y / February / 29);
}

TEST(Nmea, SatellitesThatNoEntryHoldsAreCountedAndLeftOut) {
    const NmeaLog log = read("GPGSV,1,1,04,127,41,050,46,128,60,317,49,00,34,315,45,301,1,1,1",
                             "GPGSA,A,3,128,127,,,,,,,,,,,1,1,1");
    EXPECT_THAT(log.states.at(0).channels, areChannelsOf(127U));
    EXPECT_TRUE(log.states[0].channels[0].inUse);
    EXPECT_EQ(log.counts.satellitesLeftOut, 4U);
    EXPECT_EQ(log.counts.unreadable, 0U);

    // Of a satellite's two signals the stronger counts.
    const auto twice = read("GPGSV,1,1,01,03,41,050,44,1", "GPGSV,1,1,01,03,41,050,40,6");
    EXPECT_THAT(twice.states.at(0).channels, areChannelsOf(3U));
    EXPECT_EQ(twice.states[0].channels[0].signal, 44U);
}

TEST(Nmea, SenselessSentencesAreCountedAndTellNothing) {
    const char* bodies[] = {
        "GPRMC,240000,A,,,,,,,280224,1.0,W",
        "GPRMC,12595,A,,,,,,,280224,1.0,W",
        "GPRMC,125959.4x,A,,,,,,,280224,1.0,W",
        "GPRMC,125959,B,,,,,,,280224,1.0,W",
        "GPRMC,125959,A,,,,,,,290223,1.0,W",
        "GPRMC,125959,A,,,,,,,001224,1.0,W",
        "GPRMC,125959,A,,,,,,,2802241,1.0,W",
        "GPRMC,125959,A,,,,,,,280224,180.1,W",
        "GPRMC,125959,A,,,,,,,280224,nan,W",
        "GPRMC,125959,A,,,,,,,280224,1e1,W",
        "GPRMC,125959,A,,,,,,,280224,1.0,S",
        "GPGGA,125959,,,,,9,05,1.0,,M,,M,,",
        "GPGGA,125959,,,,,1,05,-1.0,,M,,M,,",
        "GPGSA,A,3,3.5,,,,,,,,,,,,1,1,1",
        "GPGSA,A,3,99999999999,,,,,,,,,,,,1,1,",
        "GPGSV,1,2,01,03,41,050,46",
        "GPGSV,0,1,01,03,41,050,46",
        "GPGSV,1,1,01,03,91,050,46",
        "GPGSV,1,1,01,03,41,361,46",
        "GPGSV,1,1,01,03,41,-1,46",
        "GPGSV,1,1,01,03,41,050,46,x,1,1,1",
    };
    for (const char* body : bodies) {
        const NmeaLog log = read(body);
        EXPECT_TRUE(log.states.empty()) << body;
        EXPECT_EQ(log.counts.unreadable, 1U) << body;
    }
}

TEST(Nmea, LinesThatAreNoSentencesAreRefused) {
    const std::string whole =
        line("GPRMC,125106,V,3854.5087,N,07726.4523,W,0.0,0.0,241011,10.5,W,S");
    ASSERT_TRUE(splitSentence(whole));
    const std::string text = whole.substr(0, whole.size() - 2);
    ASSERT_TRUE(splitSentence(text));
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_FALSE(splitSentence(text.substr(0, length))) << length;
    }
    for (std::size_t bit = 0; bit < text.size() * 8; ++bit) {
        std::string flipped = text;
        flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
        EXPECT_FALSE(splitSentence(flipped)) << bit;
    }
    const std::string hostile[] = {"$*00",
                                   "$GPRMC",
                                   "$$GPRMC*4B",
                                   "!AIVDM,1*00",
                                   std::string("$A\0B*03", 7),
                                   "$GPRMC,A\tB*4B",
                                   line(std::string(300, 'A')),
                                   std::string(100000, '$')};
    for (const std::string& each : hostile) {
        EXPECT_FALSE(splitSentence(each)) << each.substr(0, 40);
    }
}

}  // namespace
}  // namespace bench
