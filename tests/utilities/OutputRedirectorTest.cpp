#include "utilities/OutputRedirector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <cstdio>
#include <memory>
#include <numeric>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

/** A file in the place of a standard stream, which has its own back at the end. A stream in memory
 *  wouldn't do: it grows under a lock that the thread sanitizer doesn't see.
 */
class FileStream {
public:
    explicit FileStream(std::FILE*& stream) : m_stream(stream), m_before(stream) {
        m_stream = m_file = std::tmpfile();
    }
    ~FileStream() {
        m_stream = m_before;
        std::fclose(m_file);
    }
    FileStream(const FileStream&) = delete;
    FileStream& operator=(const FileStream&) = delete;

    bool inPlace() const { return m_stream == m_file; }
    std::string text() {
        std::string text(static_cast<std::size_t>(std::ftell(m_file)), '\0');
        std::rewind(m_file);
        text.resize(std::fread(text.data(), 1, text.size(), m_file));
        return text;
    }

private:
    std::FILE*& m_stream;
    std::FILE* const m_before;
    std::FILE* m_file = nullptr;
};

using Pieces = std::vector<std::string>;

/** The process's standard streams as the library would find them. Nothing may be expected while
 *  they stand, since the report would go the same way.
 */
struct World {
    FileStream out{stdout};
    FileStream err{stderr};
    COutputRedirector redirector;
    Pieces pieces;

    /** Takes everything. */
    bool capture() {
        return redirector.redirect([this](const char* text, unsigned size) {
            pieces.emplace_back(text, size);
            return static_cast<int>(size);
        });
    }
};

/** What the writer was given, and what standard output and error got, while `print` ran. */
struct Outcome {
    Pieces pieces;
    std::string out, err;
};

template <typename Print>
Outcome redirected(const COutputRedirector::Writer& writer, Print print) {
    World world;
    writer == nullptr ? world.capture() : world.redirector.redirect(writer);
    print(world.redirector);
    world.redirector.reset();
    return {world.pieces, world.out.text(), world.err.text()};
}

TEST(OutputRedirector, LinesOfBothStreamsArriveWhole) {
    const auto [pieces, out, err] = redirected(nullptr, [](COutputRedirector& redirector) {
        std::puts("first");
        std::fputs("SOAP 1.2 ", stderr);
        std::fprintf(stdout, "fault %s", "SOAP-ENV:Sender");
        std::putchar('\n');
        std::fputs("pushed out", stdout);
        std::fflush(stdout);
        std::fputs("left over", stderr);
        redirector.reset();
        std::fputs("afterwards", stdout);
    });
    EXPECT_EQ(pieces,
              (Pieces{"first\n", "SOAP 1.2 fault SOAP-ENV:Sender\n", "pushed out", "left over"}));
    EXPECT_EQ(out + "|" + err, "afterwards|");
}

TEST(OutputRedirector, WriterDecidesWhatIsSwallowed) {
    const auto writer = [](const char* text, unsigned size) {
        const std::string piece(text);  // ends behind `size`
        if (piece.size() != size || piece == "throw\n") {
            throw std::runtime_error(piece);
        }
        return piece == "none\n" ? 0 : piece == "minus\n" ? INT_MIN : INT_MAX;
    };
    const Outcome outcome = redirected(writer, [](auto&) {
        for (const char* line : {"all", "none", "throw", "minus", "none", "all", "none"}) {
            std::puts(line);
        }
    });
    EXPECT_EQ(outcome.out, "none\nnone\nnone\n");
}

TEST(OutputRedirector, OneRedirectionAtATime) {
    std::array<bool, 5> results{};
    Pieces pieces;
    Pieces later;
    {
        World world;
        const auto never = [](const char*, unsigned size) { return static_cast<int>(size); };
        results[0] = world.redirector.redirect(nullptr);
        results[1] = world.capture();
        results[2] = world.redirector.redirect(never);
        {
            COutputRedirector second;
            results[3] = second.redirect(never);
        }
        std::puts("first");
        world.redirector.reset();
        pieces = std::exchange(world.pieces, {});
        results[4] = world.capture() && !world.out.inPlace() && !world.err.inPlace();
        std::puts("again");
        world.redirector.~COutputRedirector();
        new (&world.redirector) COutputRedirector;
        results[4] = results[4] && world.out.inPlace() && world.err.inPlace();
        later = world.pieces;
    }
    EXPECT_EQ(results, (std::array{false, true, false, false, true}));
    EXPECT_EQ(pieces, Pieces{"first\n"});
    EXPECT_EQ(later, Pieces{"again\n"});
}

TEST(OutputRedirector, PrintsOfTheWriterReachTheSavedStreamOnce) {
    const auto writer = [](const char* text, unsigned size) {
        std::printf("[%s", text);
        std::puts("line");
        std::fflush(stdout);
        std::fputs("rest]", stdout);
        return text[0] == 'a' ? 0 : static_cast<int>(size);
    };
    const Outcome outcome = redirected(writer, [](auto&) {
        std::fputs("a1\nb", stdout);
        std::fputs("c\nd", stdout);
    });
    EXPECT_EQ(outcome.out, "[a1\nline\nrest]a1\n[bc\nline\nrest][dline\nrest]");
}

TEST(OutputRedirector, PrintsOfTheWriterStayTogetherAmongThreads) {
    constexpr int threadCount = 4;
    constexpr int lineCount = 500;
    const auto writer = [](const char* text, unsigned size) {
        std::fputs("<", stdout);
        std::fprintf(stderr, "%.*s", static_cast<int>(size) - 1, text);
        std::puts(">");
        return static_cast<int>(size);
    };
    const Outcome outcome = redirected(writer, [](auto&) {
        std::vector<std::jthread> threads;
        for (int t = 0; t < threadCount; ++t) {
            threads.emplace_back([] {
                for (int i = 0; i < lineCount; ++i) {
                    std::puts("line");
                }
            });
        }
    });
    std::string expected;
    for (int i = 0; i < threadCount * lineCount; ++i) {
        expected += "<line>\n";
    }
    EXPECT_TRUE(outcome.out == expected);
}

TEST(OutputRedirector, MegabyteWithoutALineEndArrivesWhole) {
    std::string text;
    for (unsigned i = 0; i < 1U << 20U; ++i) {
        text += static_cast<char>('a' + std::size_t{i} * i % 23);
    }
    const auto [pieces, out, err] = redirected(nullptr, [&](auto&) {
        std::fputs(text.c_str(), stdout);
        for (const char c : text) {
            std::putchar(c);
        }
    });
    EXPECT_TRUE(std::accumulate(pieces.begin(), pieces.end(), std::string()) == text + text);
}

TEST(OutputRedirector, LinesOfManyThreadsNeitherMixNorGetLost_NotEvenDuringReset) {
    constexpr int threadCount = 6;
    constexpr int lineCount = 3000;
    const auto [pieces, passed, err] = redirected(nullptr, [](COutputRedirector& redirector) {
        std::atomic<int> printed = 0;
        std::vector<std::jthread> threads;
        for (int t = 0; t < threadCount; ++t) {
            threads.emplace_back([t, &printed] {
                for (int i = 0; i < lineCount; ++i, ++printed) {
                    std::printf("thread %d line %d.\n", t, i);
                }
            });
        }
        while (printed < threadCount * lineCount / 3) {
            std::this_thread::yield();
        }
        redirector.reset();
    });
    EXPECT_GE(pieces.size(), threadCount * lineCount / 3U);
    std::istringstream lines(std::accumulate(pieces.begin(), pieces.end(), std::string()) + passed);
    std::vector<int> next(threadCount);
    for (std::string line; std::getline(lines, line);) {
        int thread = -1;
        std::sscanf(line.c_str(), "thread %d", &thread);
        ASSERT_TRUE(thread >= 0 && thread < threadCount) << line;
        int& number = next[static_cast<std::size_t>(thread)];
        ASSERT_EQ(line,
                  "thread " + std::to_string(thread) + " line " + std::to_string(number++) + ".");
    }
    EXPECT_EQ(next, std::vector<int>(threadCount, lineCount));
}

}  // namespace
