#pragma once

class DirectoryBlock;

/// Turns reading ahead on or off for the scans that start afterwards; on by default.
void SetReadAhead(bool on);

/// Reads files ahead of a scan, so that a cold disk works on some thirty of them at once instead of
/// one after the other.
class ReadAhead {
public:
    /// Reads ahead what `block` has to come of the open directory `directory`.
    void LookAhead(int directory, DirectoryBlock& block);
};
