#pragma once

namespace scanhost {

/// Whether `descriptor` is a socket as the engine gives it to the host.
bool IsControlSocket(int descriptor);

/// Loads what the engine at the other end of `control` wants to have loaded, and looks after the
/// workers until it is gone; nothing of them is left then. The process's exit status: 0 when the
/// engine went, 1 when nothing could be loaded or started, or the engine made no sense. For a
/// process of one thread.
int Serve(int control);

}  // namespace scanhost
