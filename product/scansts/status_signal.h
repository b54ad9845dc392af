#pragma once

// What is heard on the system bus when something has changed. Nobody owns a name for it: whoever
// changes something sends the signal, and a listener matches by interface and member.

inline constexpr char kStatusObjectPath[] = "/org/corvane/Status";
inline constexpr char kStatusInterface[] = "org.corvane.Status1";

/// The virus definitions or the update options have changed. It carries no value: whoever wants to
/// know more reads it where it belongs, for a signal can be sent by anybody.
inline constexpr char kUpdateChangedSignal[] = "UpdateChanged";
