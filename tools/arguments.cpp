#include "arguments.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace tlm::ctl {
namespace {

std::nullopt_t fail(std::string what, std::string* error) {
  *error = std::move(what);
  return std::nullopt;
}

const Option* known(const std::vector<Option>& options, const std::string& name) {
  const auto found = std::find_if(options.begin(), options.end(), [&](const Option& o) { return name == o.name; });
  return found == options.end() ? nullptr : &*found;
}

bool isOption(const std::string& word) {
  const bool number = word.size() > 1 && (std::isdigit(static_cast<unsigned char>(word[1])) != 0 || word[1] == '.');
  return word.size() > 1 && word.front() == '-' && !number;
}

bool takeFile(const std::string& word, Arguments* arguments, std::string* error) {
  if (word.empty()) return fail("an empty file name", error), false;
  if (!arguments->file.empty()) return fail("more than one file: " + arguments->file + " and " + word, error), false;
  arguments->file = word;
  return true;
}

// Takes the option at *at with its value; leaves *at on the last word that was used.
bool takeOption(const std::vector<std::string>& words, size_t* at, const std::vector<Option>& options,
                Arguments* arguments, std::string* error) {
  const std::string& word = words[*at];
  const size_t equals = word.find('=');
  const std::string name = word.substr(0, equals);
  const Option* option = known(options, name);
  if (!option) return fail("unknown option " + name, error), false;
  if (arguments->has(name)) return fail(name + " stands twice", error), false;
  std::string value;
  if (!option->value) {
    if (equals != std::string::npos) return fail(name + " takes no value", error), false;
  } else if (equals != std::string::npos) {
    value = word.substr(equals + 1);
  } else if (*at + 1 < words.size() && !isOption(words[*at + 1])) {
    value = words[++*at];
  }
  if (option->value && value.empty()) return fail(name + " needs a value: " + option->value, error), false;
  arguments->options[name] = value;
  return true;
}

}  // namespace

std::optional<Arguments> parseArguments(const std::vector<std::string>& words, const std::vector<Option>& options,
                                        Operands operands, std::string* error) {
  Arguments arguments;
  bool mayBeOption = true;
  for (size_t i = 0; i < words.size(); ++i) {
    if (mayBeOption && words[i] == "--") {
      mayBeOption = false;
    } else if (mayBeOption && isOption(words[i])) {
      if (!takeOption(words, &i, options, &arguments, error)) return std::nullopt;
    } else if (operands == Operands::kWords) {
      arguments.words.push_back(words[i]);
    } else if (!takeFile(words[i], &arguments, error)) {
      return std::nullopt;
    }
  }
  for (const Option& option : options)
    if (option.required && !arguments.has(option.name)) return fail(std::string(option.name) + " is missing", error);
  if (operands == Operands::kOneFile && arguments.file.empty()) return fail("the file is missing", error);
  return arguments;
}

std::optional<uint64_t> numberOption(const Arguments& arguments, const std::string& option, uint64_t low, uint64_t high,
                                     std::string* error) {
  const std::string& text = arguments.options.at(option);
  uint64_t number = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (code == std::errc() && end == text.data() + text.size() && number >= low && number <= high) return number;
  return fail(option + " must be a number from " + std::to_string(low) + " to " + std::to_string(high) + ", not \"" +
                  text + "\"",
              error);
}

}  // namespace tlm::ctl
