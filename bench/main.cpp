// Runs the benches: [NAME...] [--json FILE] [--list].
#include <bench/bench.h>

#include <QApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <cstdio>

namespace tlm::bench {

void addMdxBenches(Registry& registry);
void addScriptBenches(Registry& registry);
void addServerBenches(Registry& registry);
void addStoreBenches(Registry& registry);
void addClientBenches(Registry& registry);
void addModuleBenches(Registry& registry);
void addWireBenches(Registry& registry);
void addPassportBenches(Registry& registry);
void addLiveBenches(Registry& registry);
void addValuesBenches(Registry& registry);
void addRetroBenches(Registry& registry);

namespace {

Registry everything() {
  Registry registry;
#ifdef TLM_BENCH_MDX
  addMdxBenches(registry);
#endif
#ifdef TLM_BENCH_SCRIPT
  addScriptBenches(registry);
#endif
#ifdef TLM_BENCH_SERVER
  addServerBenches(registry);
#endif
#ifdef TLM_BENCH_STORE
  addStoreBenches(registry);
#endif
#ifdef TLM_BENCH_CLIENT
  addClientBenches(registry);
#endif
#ifdef TLM_BENCH_WIRE
  addWireBenches(registry);
#endif
#ifdef TLM_BENCH_LIVE
  addLiveBenches(registry);
#endif
#ifdef TLM_BENCH_VALUES
  addValuesBenches(registry);
#endif
#ifdef TLM_BENCH_RETRO
  addRetroBenches(registry);
#endif
#ifdef TLM_BENCH_MODULE
  addModuleBenches(registry);
#endif
#ifdef TLM_BENCH_PASSPORT
  addPassportBenches(registry);
#endif
  return registry;
}

void print(const Result& r) {
  std::printf("%-28s %14.6g %14.6g %-12s %8.3f  %-14s %s\n", r.name.c_str(), r.ours, r.baseline, r.unit.c_str(),
              r.ratio, r.goal.c_str(), r.meets ? "meets" : "MISSES");
  std::fflush(stdout);
}

QJsonObject json(const Result& r) {
  return {{"name", QString::fromStdString(r.name)},
          {"ours", r.ours},
          {"baseline", r.baseline},
          {"unit", QString::fromStdString(r.unit)},
          {"ratio", r.ratio},
          {"goal", QString::fromStdString(r.goal)},
          {"meets", r.meets}};
}

bool write(const QString& path, const QJsonArray& results) {
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(results).toJson()) < 0) {
    std::fprintf(stderr, "cannot write %s: %s\n", qPrintable(path), qPrintable(file.errorString()));
    return false;
  }
  return true;
}

int run(QStringList names) {
  QString file;
  if (const int at = names.indexOf("--json"); at >= 0) {
    if (at + 1 >= names.size()) {
      std::fprintf(stderr, "--json needs a file\n");
      return 2;
    }
    file = names.at(at + 1);
    names.erase(names.begin() + at, names.begin() + at + 2);
  }
  const Registry registry = everything();
  const bool list = names.removeAll("--list") > 0;
  QStringList unknown = names;
  QJsonArray results;
  std::printf("%-28s %14s %14s %-12s %8s  %s\n", "name", "ours", "baseline", "unit", "ratio", "goal");
  for (const auto& [name, bench] : registry.all()) {
    const QString known = QString::fromStdString(name);
    unknown.removeAll(known);
    if (!names.isEmpty() && !names.contains(known)) continue;
    if (list) {
      std::printf("%s\n", name.c_str());
      continue;
    }
    for (const Result& result : bench()) {
      print(result);
      results.append(json(result));
    }
  }
  if (!unknown.isEmpty()) {
    std::fprintf(stderr, "no bench of the name %s\n", qPrintable(unknown.join(", ")));
    return 2;
  }
  return file.isEmpty() || write(file, results) ? 0 : 1;
}

}  // namespace
}  // namespace tlm::bench

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  return tlm::bench::run(QCoreApplication::arguments().mid(1));
}
