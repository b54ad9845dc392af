#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "abi/scanapi.h"

// What the scripted fake engine is told to do. A script is a text file, one line a rule; blank
// lines and lines that begin with "#" count for nothing. Words are divided by blanks; a PATTERN is
// the rest of its line and is matched, as by the shell, with the whole name of the file that is
// opened
// ("*" crosses "/"). In VIRUS, NAME and FILE a blank is written %20, any byte %XX; "-" is no text.
//
//   init RESULT                                  what ZqInitScan returns (1)
//   setcallback RESULT                           what ZqSetCallBack returns (1)
//   close RESULT                                 what ZqCloseFile returns (1)
//   version MAJOR MINOR YEAR MONTH DAY           what ZqGetAPIVersion fills in
//   log FILE                                     where calls are written down, see below
//   open STATUS HANDLE PATTERN                   what ZqOpenFile answers; HANDLE "auto" or a number
//   scan RESULT PATTERN                          what ZqScanFileEx returns (1)
//   say CODE CLASS SUBCLASS VIRUS PATTERN        a message about the file itself
//   member CODE CLASS SUBCLASS VIRUS NAME PATTERN  the same about another name
//   delay MILLISECONDS PATTERN                   wait
//   hold FILE PATTERN                            wait until FILE is there, at most a minute
//   throw SYMBOL                                 this entry point ends in an exception
//   after CODE REPLY NEXT                        told REPLY to the message CODE, send NEXT about it
//
// The first `open` and `scan` rule that matches counts; all others that match are carried out in
// order. A file for which no `say` and no `member` matches is reported clean (1002). The reply 2004
// ends the file. The engine never touches the files it is given.

namespace fake {

/// A line of the script that does something while a file is scanned.
struct Step {
    enum class Kind { Message, Delay, Hold };
    Kind kind = Kind::Message;
    tagZQFILEINFO message{};  ///< Message: without the file name, unless `member` gave one
    bool namesFile = false;   ///< Message: the file name is that of the opened file
    int milliseconds = 0;     ///< Delay
    std::string file;         ///< Hold
    std::string pattern;
};

struct OpenRule {
    int status = 1;
    bool automatic = true;
    std::uint64_t handle = 0;
    std::string pattern;
};

struct ScanRule {
    int result = 1;
    std::string pattern;
};

struct FollowUp {
    int code = 0;
    int reply = 0;
    std::int16_t next = 0;
};

struct Script {
    int initResult = 1;
    int setCallbackResult = 1;
    int closeResult = 1;
    tagZQVERINFO version{1, 0, {2026, 1, 0, 1, 0, 0, 0, 0}};
    std::string log;
    std::vector<OpenRule> opens;
    std::vector<ScanRule> scans;
    std::vector<Step> steps;
    std::vector<FollowUp> followUps;
    std::set<std::string, std::less<>> throwing;
};

/// Reads the script at `path`; one that is not there is empty. A line that is not understood ends
/// the program: a test must not go on with half a script.
Script ReadScript(const std::string& path);

/// "%20" and the like to bytes, "-" to nothing.
std::string Decode(std::string_view word);

/// The reverse: blanks, control characters, "%" and bytes above 126 become "%XX"; nothing is "-".
std::string Encode(std::string_view text);

bool Matches(const std::string& pattern, const std::string& name);

}  // namespace fake
