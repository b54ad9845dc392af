#include "tests/fakes/scanapi/script.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <fnmatch.h>
#include <fstream>
#include <sstream>

#include "common/text_field.h"

namespace fake {

namespace {

std::string RestOfLine(std::istringstream& line) {
    std::string rest;
    std::getline(line >> std::ws, rest);
    return rest;
}

Step ReadMessage(std::istringstream& line, bool named) {
    Step step;
    tagZQFILEINFO& message = step.message;
    std::string virus;
    line >> message.code >> message.detectionClass >> message.detectionSubClass >> virus;
    common::CopyToUnterminatedField(message.virusName, Decode(virus));
    step.namesFile = !named;
    if (named) {
        std::string name;
        line >> name;
        common::CopyToUnterminatedField(message.fileName, Decode(name));
    }
    step.pattern = RestOfLine(line);
    return step;
}

OpenRule ReadOpen(std::istringstream& line) {
    OpenRule rule;
    std::string handle;
    line >> rule.status >> handle;
    rule.automatic = handle == "auto";
    if (!rule.automatic) {
        rule.handle = std::strtoull(handle.c_str(), nullptr, 10);
    }
    rule.pattern = RestOfLine(line);
    return rule;
}

bool ReadStep(const std::string& verb, std::istringstream& line, Script& script) {
    Step step;
    if (verb == "say" || verb == "member") {
        step = ReadMessage(line, verb == "member");
    } else if (verb == "delay") {
        step.kind = Step::Kind::Delay;
        line >> step.milliseconds;
        step.pattern = RestOfLine(line);
    } else if (verb == "hold") {
        step.kind = Step::Kind::Hold;
        line >> step.file;
        step.file = Decode(step.file);
        step.pattern = RestOfLine(line);
    } else {
        return false;
    }
    script.steps.push_back(step);
    return !step.pattern.empty();
}

bool ReadRule(const std::string& verb, std::istringstream& line, Script& script) {
    if (verb == "init") {
        line >> script.initResult;
    } else if (verb == "setcallback") {
        line >> script.setCallbackResult;
    } else if (verb == "close") {
        line >> script.closeResult;
    } else if (verb == "version") {
        tagZQVERINFO& version = script.version;
        line >> version.major >> version.minor >> version.databaseDate.year >>
            version.databaseDate.month >> version.databaseDate.day;
    } else if (verb == "throw") {
        script.throwing.insert(RestOfLine(line));
    } else if (verb == "log") {
        line >> script.log;
        script.log = Decode(script.log);
    } else if (verb == "open") {
        script.opens.push_back(ReadOpen(line));
        return !script.opens.back().pattern.empty();
    } else if (verb == "scan") {
        ScanRule rule;
        line >> rule.result;
        rule.pattern = RestOfLine(line);
        script.scans.push_back(rule);
        return !rule.pattern.empty();
    } else if (verb == "after") {
        FollowUp followUp;
        line >> followUp.code >> followUp.reply >> followUp.next;
        script.followUps.push_back(followUp);
    } else {
        return ReadStep(verb, line, script);
    }
    return !line.fail();
}

}  // namespace

Script ReadScript(const std::string& path) {
    Script script;
    std::ifstream file(path);
    std::string text;
    while (std::getline(file, text)) {
        std::istringstream line(text);
        std::string verb;
        if (!(line >> verb) || verb.starts_with('#')) {
            continue;
        }
        if (!ReadRule(verb, line, script)) {
            (void)std::fprintf(stderr, "fake engine: not understood in %s: %s\n", path.c_str(),
                               text.c_str());
            std::abort();
        }
    }
    return script;
}

std::string Decode(std::string_view word) {
    if (word == "-") {
        return {};
    }
    std::string text;
    for (std::size_t i = 0; i < word.size(); ++i) {
        unsigned int byte = 0;
        if (word[i] == '%' && i + 2 < word.size() &&
            std::from_chars(&word[i + 1], &word[i + 1] + 2, byte, 16).ec == std::errc{}) {
            text += static_cast<char>(byte);
            i += 2;
        } else {
            text += word[i];
        }
    }
    return text;
}

std::string Encode(std::string_view text) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string word;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte > ' ' && byte < 127 && c != '%') {
            word += c;
        } else {
            word += {'%', kDigits[byte >> 4U], kDigits[byte & 15U]};
        }
    }
    return word.empty() ? "-" : word;
}

bool Matches(const std::string& pattern, const std::string& name) {
    return ::fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
}

}  // namespace fake
