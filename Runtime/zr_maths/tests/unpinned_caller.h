#pragma once

namespace Vestrel {

/// VerifyCallerArithmetic in a file that may fuse operations and removes the protection against it.
bool VerifyUnpinnedCaller();

} // namespace Vestrel
