#pragma once

#include <algorithm>
#include <gtest/gtest.h>

namespace test
{

/// Whether an answer lies between two readings of the same, one before it and one after it, each
/// number for itself. What changes all the time may go back and forth: it is asked more than once.
template <class Read, class Answer>
testing::AssertionResult between_readings(const Read& read, const Answer& answer)
{
    constexpr int tries = 50;
    for (int left = tries;; --left)
    {
        const auto before = read();
        const auto found = answer();
        const auto after = read();
        std::string outside;
        for (std::size_t i = 0; i < before.size(); ++i)
            if (found.at(i) < std::min(before.at(i), after.at(i)) ||
                found.at(i) > std::max(before.at(i), after.at(i)))
                outside += " number " + std::to_string(i) + " is " + std::to_string(found.at(i)) +
                           ", read " + std::to_string(before.at(i)) + " and " +
                           std::to_string(after.at(i)) + ";";
        if (outside.empty())
            return testing::AssertionSuccess();
        if (left == 1)
            return testing::AssertionFailure() << outside;
    }
}

} // namespace test
