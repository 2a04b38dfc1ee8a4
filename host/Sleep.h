#pragma once

/// Pauses the calling thread.
void Sleep(unsigned long milliseconds);
