#include "AddMenu.h"

#include "IndexFacts.h"

AddOffer addOffer(const AddFacts& facts) {
  AddOffer offer;
  if (!facts.valid) {
    offer.rootFolder = offer.rtu = true;
    return offer;
  }
  if (facts.isFolder) {
    offer.rootFolder = offer.folder = offer.rtu = true;
    return offer;
  }
  // In the order of kMeasClasses.
  static constexpr bool AddOffer::*kKinds[] = {&AddOffer::analog, &AddOffer::discrete, &AddOffer::accumulator,
                                               &AddOffer::string};
  if (const MeasClass* kind = groupOrMeasClass(facts.caption, facts.className)) {
    offer.*kKinds[kind - kMeasClasses] = offer.rootFolder = true;
  } else if (facts.className.compare(QLatin1String(kRemoteUnitClass), Qt::CaseInsensitive) == 0) {
    for (bool AddOffer::*each : kKinds) offer.*each = true;
    offer.rootFolder = true;
  }
  return offer;
}
