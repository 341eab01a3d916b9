// Whether a text that came from outside may be given to the XML reader.
#ifndef TLMMEAS_DOCUMENTGUARD_H
#define TLMMEAS_DOCUMENTGUARD_H

#include <QString>

// What a document may hold at most. A measurement is one element with some seven attributes in 200 characters, so
// these are enough for well over a hundred thousand of them.
inline constexpr int kMaxDocumentChars = 24'000'000;
inline constexpr int kMaxDocumentParts = 1'200'000;  // tags, comments and attributes together
inline constexpr int kMaxDocumentDepth = 1000;

// True for a text within the bounds that declares nothing in its document type. Looks at every character once and
// builds nothing. A text that is no XML may pass; it is the reader that finds out.
bool isHarmlessDocument(const QString& xml);

#endif
