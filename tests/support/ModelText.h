// Small models written by hand, as indented text.
#ifndef TLMTEST_MODELTEXT_H
#define TLMTEST_MODELTEXT_H

#include <TlmServer/Catalogue.h>
#include <TlmServer/Store.h>

#include <string>

namespace tlm::test {

// The key of the object of that name in a model text.
std::string keyOf(const std::string& name);

// Writes the rows of a model text (UTF-8) into a new store. Each line is an object, two blanks deeper than
// what holds it:
//
//   folder Подстанция Северная
//     unit КП-1
//       analog 1001 P Т-1
//         analog 1002 P Т-1 макс          an aggregated measurement: its primaryLocId is 1001
//       discrete 1003 Q-110 {CheckTu=1}
//   unit Без папки
//   table MeasurementArchGroup Часовая {aggregatedData=1}
//   user Петров {password=secret;control=1;values=1}
//
// Kinds: folder, unit, analog, discrete, accumulator, string; "table NAME" for a row of any other table; user. The
// rest of the line is the name. Fields in braces, divided by ";", are set in the first table of the object's
// chain that has them; "=@NAME" stands for the key of another object, "=" alone for null. A unit is in service
// (StateRtu 1, SrvGroup 1) and a measurement works (work_ 1) unless the braces say other.
// False with a message in *error when the text is wrong.
bool writeModel(const std::string& text, server::Store& store, std::string* error);

}  // namespace tlm::test

#endif
