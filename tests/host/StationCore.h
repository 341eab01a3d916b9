// A server core on a model of the test's own, for the station to work on.
#ifndef TLMTEST_HOST_STATIONCORE_H
#define TLMTEST_HOST_STATIONCORE_H

#include <TlmServer/Catalogue.h>
#include <TlmServer/Core.h>
#include <TlmServer/MemoryStore.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/ModelText.h"

namespace tlm::test {

// A failure of the test when the text is no model (ModelText.h).
inline std::unique_ptr<server::Core> openCore(const char* model) {
  std::string error;
  auto data = server::makeMemoryStoreData(server::Catalogue::builtIn());
  EXPECT_TRUE(writeModel(model, *server::openMemoryStore(data), &error)) << error;
  return server::Core::open(server::openMemoryStore(data), {}, &error);
}

inline constexpr char kStationModel[] = R"(
table MeasurementUnit Мегаватт {symbol=МВт}
table StateTexts Выключатель {text0=Отключен;text1=Включен}
folder Подстанция Северная
  unit КП-1
    analog 1001 P Т-1 {UnitKey=@Мегаватт;decimals=1}
    discrete 1003 Q-110 {StateTextsKey=@Выключатель}
    string 1004 Режим
table ObjectForms Первая {ObjectKey=@P Т-1;file_=first.svg;order_=1;caption=Первая}
table ObjectForms Вторая {ObjectKey=@P Т-1;file_=вторая.svg;order_=2;caption=ПС Северная}
)";

}  // namespace tlm::test

#endif
