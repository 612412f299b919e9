#pragma once

namespace Vestrel {

/// VerifyCallerArithmetic in a file whose compiler may fuse operations, and which takes the protection from
/// them that they have there: as if it did not work.
bool VerifyUnpinnedCaller();

} // namespace Vestrel
