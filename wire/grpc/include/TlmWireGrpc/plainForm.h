// Tables, records and script values in the plain form, for clients that cannot read packed bytes.
#ifndef TLMWIREGRPC_PLAINFORM_H
#define TLMWIREGRPC_PLAINFORM_H

#include <TlmWire/messages.h>

#include <string>

#include <tlm/v1/model.pb.h>

namespace tlm::wire {

// Packed bytes into the plain form; false when they are no packed table, record or script value.
bool plainTable(const std::string& packed, v1::Table* table);
bool plainRecord(const std::string& image, v1::Table* table);
bool plainScriptValue(const std::string& packed, v1::Value* value);

// And back. False with a reason in *why: a field without a name, an unknown type, more or fewer values than fields,
// a value of another kind than its field.
bool packTable(const v1::Table& table, std::string* packed, std::string* why);
bool packRecord(const v1::Table& table, std::string* image, std::string* why);  // one row
bool packScriptValue(const v1::Value& value, std::string* packed, std::string* why);

// Moves the payloads of successful replies in their plain form into an empty message, where they have one. The rest
// is for toMessage.
void makePlain(const Block& block, BlockReply& reply, v1::BlockReply* message);

}  // namespace tlm::wire

#endif
