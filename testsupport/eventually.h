#pragma once

#include <chrono>
#include <functional>

namespace testsupport {

// Polls condition until it holds or limit has passed; tells whether it held. The limit is a guard
// against a hang, not a speed target: a run that is merely slow must not fail.
bool Eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit = std::chrono::seconds(60));

} // namespace testsupport
