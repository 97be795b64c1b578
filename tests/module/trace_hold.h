// Stops a thread in the middle of a trace.
#pragma once

// The next trace of the calling thread calls `hold` before it returns, once the line is written.
void CallInsideNextTrace(void (*hold)());
