// Cells of the text form of a model, and the values that they stand for.
#ifndef TLMSERVER_SAMPLECELL_H
#define TLMSERVER_SAMPLECELL_H

#include <TlmServer/Catalogue.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tlm::server {

std::vector<std::string_view> cellsOf(std::string_view line);

// The text of a cell: "" is the empty text, \t, \n and \\ are undone. Nothing when an escape is unknown.
std::optional<std::string> cellText(std::string_view cell);

// The set of names that the keys of a class are made from: "Measurement" for all classes of measurements.
std::string nameSpace(const Catalogue& catalogue, std::string_view table);

std::string keyFor(std::string_view space, std::string_view name);

// The number that a cell of such a field holds; nothing when it is none.
std::optional<int64_t> wholeNumber(std::string_view cell);
std::optional<double> realNumber(std::string_view cell);
std::optional<double> dateNumber(std::string_view cell);  // days since 30.12.1899

}  // namespace tlm::server

#endif
