// The rows of "Tables", "Fields" and "FieldsType" that go with the model of an object, packed once for each class.
#ifndef TLMSERVER_CATALOGUEPARTS_H
#define TLMSERVER_CATALOGUEPARTS_H

#include <TlmServer/ModelTables.h>
#include <TlmWire/liteModel.h>

#include <map>
#include <string>
#include <vector>

namespace tlm::server {

class CatalogueParts {
 public:
  explicit CatalogueParts(const ModelTables& tables);

  // Of a class, in the order "Tables", "Fields", "FieldsType"; empty for an unknown class.
  const std::vector<wire::LiteTable>& of(const std::string& className) const;

 private:
  std::map<std::string, std::vector<wire::LiteTable>> parts_;
};

}  // namespace tlm::server

#endif
