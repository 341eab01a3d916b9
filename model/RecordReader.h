// Reads what the tree shows out of the rows.
#ifndef TLMMEAS_RECORDREADER_H
#define TLMMEAS_RECORDREADER_H

#include "TextTable.h"

#include <TlmMdx/CMDArray.h>

#include <array>
#include <vector>

class QTextCodec;
class myConfNode;

enum class NodeField { Key, Caption, Name, ClassName, LocId, Work, StateRtu };
inline constexpr int kNodeFieldCount = 7;

// Keeps the field handles of each array that it has met, and the characters of the codec.
class RecordReader {
 public:
  void use(QTextCodec* codec) { texts_.use(codec); }
  const TextTable& texts() const { return texts_; }

  // A value of the node's row; type 0 without a row or such a field.
  MDRVar value(const myConfNode& node, NodeField field) const;
  QString text(const myConfNode& node, NodeField field) const { return texts_.decode(value(node, field)); }

  // The name as it is shown: the fixed text, or what the row holds.
  QString name(const myConfNode& node) const;
  // Asks for the memory of the names of some nodes ahead of their use: the rows of a folder's units lie far apart.
  void fetchNames(myConfNode* const* nodes, size_t count) const;
  // The number for sorting: the low 32 bits, signed; 0 without one.
  int locId(const myConfNode& node) const;

 private:
  using Handles = std::array<const MDRField*, kNodeFieldCount>;
  struct Known {
    const MDArray* array;
    const MDRField* first;  // the handles hold as long as the structure is this one
    int count;
    Handles handles;
  };
  const Handles& handles(const MDArray* array) const;

  TextTable texts_;
  mutable std::vector<Known> known_;  // a handful: the arrays of one module
};

// An integer, boolean or floating value as an integer; 0 without one.
int64_t asInteger(const MDRVar& value);

// True if a text value is that class name, in any case. `className` is ASCII.
bool isClass(const MDRVar& value, const char* className);

#endif
