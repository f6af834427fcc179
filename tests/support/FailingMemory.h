#pragma once

/// From now on the `nth` allocation by operator new (1: the next) fails; the later ones too, if `forGood`.
void FailAllocation(long nth, bool forGood);

/// All allocations succeed again.
/// @return whether one has failed since FailAllocation
bool StopFailing();
