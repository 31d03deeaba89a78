// allocation_count.h: what the wrappers of all heaps share: which request has to fail, and how many are held.
#pragma once

namespace tonekit {

// Counts a request; true if it has to fail.
bool CountRequest();

// Counts what a request gave, or its return. Null counts for nothing.
void *CountGiven(void *memory);
void CountReturned(void *memory);

} // namespace tonekit
