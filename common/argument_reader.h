#pragma once

#include <getopt.h>
#include <span>
#include <string>
#include <vector>

namespace common {

/// The arguments of a program for the shell, read with getopt_long from the start, and what is
/// wrong with them in words. Options have long names only, and their codes are 256 and above. One
/// at a time, by one thread.
class ArgumentReader {
public:
    enum class Order {
        kAsGiven,   ///< the first argument that is no option ends the options
        kAnywhere,  ///< options are taken from everywhere before a "--"
    };

    /// `arguments` begin with the program's name, `options` end as getopt_long wants it.
    ArgumentReader(std::span<char* const> arguments, std::span<const option> options, Order order);

    /// The next option's code, its value in `optarg`; -1 at the end, '?' or ':' where something is
    /// wrong.
    int Next();

    /// What is wrong where Next gave `code`: a line without newline, with nothing in it that may
    /// mislead.
    [[nodiscard]] std::string Problem(int code) const;

    /// "--name" of the option with this code; empty when there is none.
    [[nodiscard]] std::string NameOf(int code) const;

    /// After the end: the arguments that are no options.
    [[nodiscard]] std::span<char* const> Rest() const;

private:
    [[nodiscard]] std::string ProblemOfName(std::string_view argument) const;
    [[nodiscard]] std::vector<std::string> NamesFrom(std::string_view start) const;

    std::vector<char*> m_arguments;
    std::span<const option> m_options;
    Order m_order;
    int m_at = 1;
};

/// A text that others have chosen, made fit to be shown and in quotes.
std::string Quoted(std::string_view text);

}  // namespace common
