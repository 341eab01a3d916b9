// Copies of records between tables.
#ifndef TLMSERVER_RECORDS_H
#define TLMSERVER_RECORDS_H

#include <TlmMdx/mdx.h>

#include <string>
#include <vector>

namespace tlm::server {

// Copies all values by position into a record of a table of the same fields.
void copyRow(const MDRData* from, MDRData* to);

// Adds copies of all records, in the order of key 0, to a table of the same fields.
void appendAll(const MDArray* from, MDArray* to);

// Adds to `to` a field like `field`.
void addFieldLike(MDArray* to, const MDRField* field);

// The packed bytes of a script value.
std::string packValue(const CVar& value);

}  // namespace tlm::server

#endif
