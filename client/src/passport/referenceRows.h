// The rows of a referenced table as a list shows and searches them.
#pragma once

#include <TlmMdx/CMDArray.h>

#include <QByteArray>
#include <QString>
#include <QVector>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tlm::passport {

// Bytes that stand in the order an engineer expects of the texts: no case, "ё" beside "е", numbers by their value.
// In the server's code page.
std::string sortKey(std::string_view text);
// The text without case.
std::string foldedText(std::string_view text);

// Rows in their order. Texts are decoded when they are asked for: most rows of a long list are never seen.
class ReferenceRows {
 public:
  ReferenceRows() = default;
  // Takes the table over; `column` is what is shown of a row, its key where that is empty.
  ReferenceRows(std::unique_ptr<CMDArray> table, const QString& column);

  int count() const { return static_cast<int>(rows_.size()); }
  QString key(int row) const;
  QString text(int row) const;
  int rowOf(const QString& key) const;  // -1 when there is none

  // The rows that hold every word of a text, without regard to case.
  std::vector<int> search(const QString& typed) const;

 private:
  std::string_view bytes(const MDRData* row, std::string* buffer) const;
  void sort();

  std::unique_ptr<CMDArray> table_;
  const MDRField* key_ = nullptr;
  const MDRField* text_ = nullptr;
  std::vector<const MDRData*> rows_;
  mutable std::vector<std::string> folded_;  // made by the first search
};

using ReferenceRowsPtr = std::shared_ptr<const ReferenceRows>;

}  // namespace tlm::passport
