#pragma once

/// Ends the pause that runs and every later one of this process at once. For a host program that is
/// to end soon; may be called from a signal handler, and needs a signal without SA_RESTART to end a
/// pause that runs.
void EndPauses();
