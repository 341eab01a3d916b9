// Bytes of a foreign program on the clipboard: what passes the guard is read, within its bounds, and answers the same
// twice.
#include <ClipboardDocument.h>
#include <DocumentGuard.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

int depthOf(const QDomNode& top) {
  int depth = 0;
  int deepest = 0;
  for (QDomNode node = top.firstChild(); !node.isNull();) {
    deepest = std::max(deepest, depth + 1);
    if (node.hasChildNodes()) {
      node = node.firstChild();
      ++depth;
      continue;
    }
    while (depth > 0 && node.nextSibling().isNull()) {
      node = node.parentNode();
      --depth;
    }
    node = node.nextSibling();
  }
  return deepest;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const QByteArray payload(reinterpret_cast<const char*>(data), static_cast<int>(size));
  const QString xml = payloadDocument(payload);
  QDomDocument document;
  const bool readable = readDocument(xml, document);
  // Below the deepest element there may be a text.
  if (readable && depthOf(document) > kMaxDocumentDepth + 1) std::abort();
  DocumentFacts facts;
  const ClipboardTop top = facts.top(xml);
  if (!readable && !(top.table.isEmpty() && facts.templateTable(xml).isEmpty())) std::abort();
  if (top.table.isEmpty() && !top.keyLink.isEmpty()) std::abort();
  if (clipboardTop(xml).table != top.table || clipboardTemplate(xml) != facts.templateTable(xml)) std::abort();
  return 0;
}
