#include "face/FACE_Sequence.h"

#include <array>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <utility>
#include <vector>

#include "face/FaceFixture.h"

namespace {

using Numbers = FACE::Sequence<int>;

std::vector<int> held(const Numbers& numbers) {
    return {numbers.begin(), numbers.end()};
}

/** Takes an rvalue, which stays where it is: a copy of what is broken might be sound. */
void expectInvalid(Numbers&& numbers) {
    EXPECT_FALSE(numbers.is_valid());
    EXPECT_FALSE(numbers.is_managed());
    EXPECT_EQ(numbers.bound() + numbers.length() + numbers.capacity(), 0U);
    EXPECT_EQ(numbers.buffer(), nullptr);
    EXPECT_EQ(numbers.append(1), Numbers::PRECONDITION_VIOLATED);
    EXPECT_EQ(numbers.resize(0), Numbers::PRECONDITION_VIOLATED);
    EXPECT_EQ(numbers.reserve(0), Numbers::PRECONDITION_VIOLATED);
}

TEST(Sequence, DefaultIsManagedUnboundedAndGrows) {
    Numbers numbers;
    EXPECT_TRUE(numbers.is_managed());
    EXPECT_FALSE(numbers.is_bounded());
    std::vector<int> expected(1000);
    std::iota(expected.begin(), expected.end(), 0);
    for (const int number : expected) {
        EXPECT_EQ(numbers.append(number), Numbers::NO_ERROR);
    }
    EXPECT_EQ(held(numbers), expected);
}

TEST(Sequence, ConstructorsCheckTheirArguments) {
    std::array<int, 3> room{1, 2, 3};
    Numbers::RETURN_CODE rc{};
    for (const std::uint32_t bound : {0U, 0xFFFFFFFFU}) {
        expectInvalid(Numbers(bound, rc));
        EXPECT_EQ(std::exchange(rc, Numbers::NO_ERROR), Numbers::PRECONDITION_VIOLATED);
        expectInvalid(Numbers(room.data(), 0, bound, rc));
        EXPECT_EQ(std::exchange(rc, Numbers::NO_ERROR), Numbers::PRECONDITION_VIOLATED);
    }
    expectInvalid(Numbers(room.data(), 3, 2, rc));
    expectInvalid(Numbers(nullptr, 0, 3, rc));
    expectInvalid(Numbers(nullptr, 3));
    expectInvalid(Numbers(room.data(), 0xFFFFFFFFU));
    const NoMemory none;
    expectInvalid(Numbers(room.data(), 3));
}

TEST(Sequence, CopyOfElementsIsManagedAndFull) {
    std::array<int, 3> source{1, 2, 3};
    Numbers numbers(source.data(), source.size());
    source[0] = 9;
    EXPECT_TRUE(numbers.is_managed());
    EXPECT_EQ(numbers.bound(), 3U);
    EXPECT_EQ(numbers.append(4), Numbers::INSUFFICIENT_BOUND);
    EXPECT_EQ(held(numbers), (std::vector{1, 2, 3}));
}

TEST(Sequence, ManagedResizesWithinItsCapacityAndZeroes) {
    Numbers::RETURN_CODE rc{};
    Numbers numbers(4, rc);
    EXPECT_EQ(numbers.resize(1), Numbers::INSUFFICIENT_MEMORY);
    EXPECT_EQ(numbers.reserve(5), Numbers::INSUFFICIENT_BOUND);
    EXPECT_EQ(numbers.reserve(4), Numbers::NO_ERROR);
    {
        const NoMemory none;
        EXPECT_EQ(numbers.resize(4), Numbers::NO_ERROR);
        numbers[3] = 7;
        EXPECT_EQ(numbers.resize(2), Numbers::NO_ERROR);
        EXPECT_EQ(numbers.resize(4), Numbers::NO_ERROR);
    }
    EXPECT_EQ(held(numbers), (std::vector{0, 0, 0, 0}));
    EXPECT_EQ(numbers.resize(5), Numbers::INSUFFICIENT_BOUND);
    EXPECT_EQ(numbers.length(), 4U);
    EXPECT_EQ(numbers.capacity(), 4U);
}

TEST(Sequence, ExternalWorksInItsBufferAndResizeTouchesNothing) {
    std::array<int, 4> room{1, 2, 3, 99};
    Numbers::RETURN_CODE rc{};
    Numbers numbers(room.data(), 1, 3, rc);
    const NoMemory none;
    EXPECT_EQ(numbers.resize(3), Numbers::NO_ERROR);
    EXPECT_EQ(numbers[2], 3);
    EXPECT_EQ(numbers.resize(4), Numbers::INSUFFICIENT_BOUND);
    EXPECT_EQ(numbers.append(4), Numbers::INSUFFICIENT_BOUND);
    EXPECT_EQ(numbers.resize(2), Numbers::NO_ERROR);
    EXPECT_EQ(numbers.append(8), Numbers::NO_ERROR);
    EXPECT_EQ(numbers.buffer(), room.data());
    EXPECT_EQ(numbers.length(), 3U);
    EXPECT_EQ(room, (std::array{1, 2, 8, 99}));
}

TEST(Sequence, CopyAndAssignmentAreManaged) {
    std::array<int, 4> room{1, 2, 3, 4};
    Numbers::RETURN_CODE rc{};
    Numbers external(room.data(), 2, 4, rc);
    Numbers copy(external);
    room[0] = 9;
    EXPECT_TRUE(copy.is_managed());
    EXPECT_EQ(copy.bound(), 4U);
    EXPECT_EQ(held(copy), (std::vector{1, 2}));

    external = copy;
    EXPECT_TRUE(external.is_managed());
    EXPECT_EQ(external.append(5), Numbers::NO_ERROR);
    EXPECT_EQ(room, (std::array{9, 2, 3, 4}));

    Numbers overItself(copy.buffer(), 1, 1, rc);
    copy = overItself;
    EXPECT_EQ(held(copy), std::vector{1});
    const Numbers& same = copy;
    copy = same;
    EXPECT_EQ(held(copy), std::vector{1});
    copy = Numbers(nullptr, 1);
    expectInvalid(std::move(copy));
}

/** Copies until told not to. */
struct Fragile {
    Fragile() = default;
    Fragile(const Fragile& other) : breaks(other.breaks) { check(); }
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): it changes nothing
    Fragile& operator=(const Fragile& other) {
        breaks = other.breaks;
        check();
        return *this;
    }
    void check() const {
        if (*breaks) {
            throw std::runtime_error("broken");
        }
    }
    std::shared_ptr<bool> breaks = std::make_shared<bool>(false);
};

TEST(Sequence, FailedCopyOfAnElementIsNotAdded) {
    using Fragiles = FACE::Sequence<Fragile>;
    Fragiles managed;
    std::array<Fragile, 2> room;
    Fragiles::RETURN_CODE rc{};
    Fragiles external(room.data(), 0, 2, rc);
    for (Fragiles* fragiles : {&managed, &external}) {
        const Fragile element;
        EXPECT_EQ(fragiles->append(element), Fragiles::NO_ERROR);
        *element.breaks = true;
        EXPECT_EQ(fragiles->append(element), Fragiles::INSUFFICIENT_MEMORY);
        EXPECT_EQ(fragiles->length(), 1U);
        EXPECT_FALSE(Fragiles(*fragiles).is_valid());
    }
}

}  // namespace
