// Rows are cut, copied, pasted and dragged at random, within a window and from one to the other, while a colleague
// changes what lies on the clipboard. After each act the server holds what the act should have made of it, and nothing
// else.
//
// Kept out besides: a copy of a measurement that is pasted in the default unit or onto aggregated data has no unit, so
// it is a measurement without a unit that comes by an event.
#include <QClipboard>
#include <QDomDocument>
#include <QGuiApplication>
#include <QMimeData>

#include <set>

#include "RandomWindows.h"

namespace tlm::test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kActs = 800;
#else
constexpr int kActs = 1500;
#endif

constexpr const char* kLinks[] = {"ParentKey", "RemoteUnitFolderKey", "RemoteUnitKey"};

QString withField(const QString& text, const char* field, const QString& value) {
  const QString head = QString(field) + '=';
  const int from = text.indexOf(head) + head.size();
  return text.left(from) + value + text.mid(text.indexOf(';', from));
}
bool operator==(const RowTexts& a, const RowTexts& b) {
  return a.folders == b.folders && a.units == b.units && a.measurements == b.measurements;
}

class RandomClipboard : public RandomWindows {
 protected:
  RandomClipboard() : RandomWindows(kActs) {}
  ~RandomClipboard() override { QGuiApplication::clipboard()->clear(); }

  void turn() override {
    if (oneIn(6))
      actOfColleague();
    else
      act(*any(windows));
  }
  void act(Window& window) {
    using Self = RandomClipboard;
    using Act = QString (RandomClipboard::*)(Window&);
    static constexpr Act kActsOfAWindow[] = {&Self::expand, &Self::expand, &Self::collapse, &Self::rename,
                                             &Self::finish, &Self::cut,    &Self::copy,     &Self::copy,
                                             &Self::paste,  &Self::paste,  &Self::paste,    &Self::paste,
                                             &Self::drag,   &Self::drag,   &Self::drag,     &Self::sort};
    const Act chosen = kActsOfAWindow[upTo(std::size(kActsOfAWindow))];
    told += (windows[0].get() == &window ? "first: " : "second: ") + (this->*chosen)(window);
  }

  RowTexts rows() { return serverRows(*server.core()); }

  // Selects one row to three; false where an edit that may not be saved keeps the selection.
  bool choose(Window& window) {
    const auto all = window.rows();
    if (all.empty()) return false;
    QItemSelectionModel* selection = window.tree()->selectionModel();
    window.tree()->setCurrentIndex(any(all).siblingAtColumn(upTo(2)));
    for (int more = oneIn(3) ? 1 + upTo(2) : 0; more > 0; --more) {
      const auto now = window.rows();
      selection->select(any(now).siblingAtColumn(upTo(2)), QItemSelectionModel::Select);
    }
    carryOut(window.module);
    return waitingBox() == nullptr;
  }

  // ---- what lies on the clipboard ----
  QString cut(Window& window) { return take(window, window.module.actCut, "cut"); }
  QString copy(Window& window) { return take(window, window.module.actCopy, "copy"); }
  QString take(Window& window, QAction* action, const char* what) {
    if (!choose(window) || window.isPending()) return finish(window);
    window.module.CheckEnabledCutCopy(Qt::NoModifier);
    if (!action->isEnabled()) return QString("%1-not-offered").arg(what);
    const RowTexts before = rows();
    action->trigger();
    if (!(rows() == before)) wrong += QString("a %1 has written").arg(what);
    return QString("%1 %2").arg(what, keysOf(window.module.clipText).join(' '));
  }
  static QDomElement rootOf(QDomDocument& document, const QString& xml) {
    document.setContent(xml);
    return document.documentElement();
  }
  static QStringList keysOf(const QString& xml) {
    QDomDocument document;
    QStringList keys;
    each(rootOf(document, xml), [&](const QDomElement& element, bool) { keys += element.attribute("KeyLink"); });
    return keys;
  }
  // Every element below one, and whether it stands at the top.
  template <typename Each>
  static void each(const QDomElement& parent, Each call, bool isTop = true) {
    for (QDomElement e = parent.firstChildElement(); !e.isNull(); e = e.nextSiblingElement()) {
      call(e, isTop);
      each(e, call, false);
    }
  }
  static bool isAggregated(const QDomElement& element) { return element.hasAttribute("primaryLocId"); }
  static bool isMeasurement(const QDomElement& element) {
    return measClassByName(element.tagName(), Qt::CaseSensitive) != nullptr;
  }

  // ---- pastes and drops ----
  QString paste(Window& window) {
    if (window.isPending()) return finish(window);
    QModelIndex target;
    for (int tries = 1 + upTo(4); tries > 0 && !(target.isValid() && window.module.btnPaste->isEnabled()); --tries) {
      const auto all = window.rows();
      if (all.empty()) return "nothing to paste on";
      window.tree()->setCurrentIndex(any(all));
      target = window.tree()->currentIndex();
    }
    if (!window.module.btnPaste->isEnabled()) return "paste-not-offered";
    const QString xml = window.module.clipText;
    const bool withAggregated = !oneIn(3);
    const QString to = unitOrFolderOf(target);
    if (window.module.clipIsCopy) {
      if (!mayCopy(xml, target)) return "paste-kept-out";
      const RowTexts before = rows();
      (withAggregated ? window.module.actPaste : window.module.actPasteNoAgreg)->trigger();
      compareCopies(before, xml, to, withAggregated);
      return QString("paste-copy %1 to %2").arg(keysOf(xml).join(' '), to);
    }
    if (!mayMove(window, xml, to)) return "paste-kept-out";
    const RowTexts before = rows();
    const bool stays = window.module.CheckIsParent(xml, target);
    window.module.actPaste->trigger();
    compareMoves(before, stays ? QString() : xml, to);
    if (!stays && !(window.module.clipText.isEmpty() && window.module.treeModel->cutKeys.isEmpty()))
      wrong += "a cut stays on the clipboard after its paste";
    return QString("paste-cut %1 to %2").arg(keysOf(xml).join(' '), to);
  }
  // As a view does it: the data of the selected indexes, dropped where the flags allow it.
  QString drag(Window& window) {
    if (!choose(window)) return "drag-refused";
    MeasConfTreeModel& model = *window.module.treeModel;
    const std::unique_ptr<QMimeData> data(model.mimeData(window.tree()->selectionModel()->selectedIndexes()));
    if (!data) {
      wrong += "a drag does not begin";
      return "drag of nothing";
    }
    const QString xml = QString::fromUtf8(data->data(kMeasMimeType).mid(1));
    const auto all = window.rows();
    QModelIndex target;
    for (int tries = 1 + upTo(4); tries > 0 && !(model.flags(target) & Qt::ItemIsDropEnabled); --tries)
      target = oneIn(6) ? QModelIndex() : any(all).siblingAtColumn(upTo(2));
    const QString to = unitOrFolderOf(target);
    const QString what = QString("%1 to %2").arg(keysOf(xml).join(' '), to);
    if (oneIn(8)) return "drag-given-up " + what;
    const RowTexts before = rows();
    if (!(model.flags(target) & Qt::ItemIsDropEnabled)) return "drag-without-place " + what;
    if (!mayMove(window, xml, to)) return "drag-kept-out";
    const bool stays = window.module.CheckIsParent(xml, target.siblingAtColumn(0));
    if (!model.dropMimeData(data.get(), Qt::MoveAction, -1, -1, target)) wrong += "a drop is not done";
    compareMoves(before, stays ? QString() : xml, to);
    return "drag " + what;
  }
  // The key of what a document goes to.
  static QString unitOrFolderOf(QModelIndex target) {
    target = target.siblingAtColumn(0);
    if (measClassByName(classOf(target), Qt::CaseInsensitive)) return ::keyOf(target.parent().parent());
    return ::keyOf(target.isValid() && isGroupCaption(nodeOf(target)->text) ? target.parent() : target);
  }

  bool mayCopy(const QString& xml, const QModelIndex& target) {
    QDomDocument document;
    int count = 0;
    each(rootOf(document, xml), [&](const QDomElement&, bool) { ++count; });
    const bool fits = objects() + count <= kMost + 40;
    return fits && (nodeOf(target)->isFolder || !unitOrFolderOf(target).isEmpty());
  }
  // The server knows the target, every window can follow the measurements, and no aggregated data stays behind.
  bool mayMove(Window& window, const QString& xml, const QString& to) {
    const RowTexts now = rows();
    if (!to.isEmpty() && !rowExists(now, to)) return false;
    const QStringList keys = keysOf(xml);
    QDomDocument document;
    bool may = true;
    each(rootOf(document, xml), [&](const QDomElement& element, bool isTop) {
      const QString text = now.measurements.value(element.attribute("KeyLink"));
      if (!isTop || text.isEmpty()) return;
      const QString from = part(text, "RemoteUnitKey");
      may = may && window.isOpen(from) && canFollow(from, to) && (from.isEmpty() || now.units.contains(from));
      for (auto row = now.measurements.begin(); row != now.measurements.end(); ++row)
        may = may && (part(row.value(), "primaryLocId") != part(text, "locId") || keys.contains(row.key()));
    });
    return may;
  }
  static bool rowExists(const RowTexts& all, const QString& key) {
    return all.folders.contains(key) || all.units.contains(key) || all.measurements.contains(key);
  }

  // ---- what should have come of it ----
  // Nothing but the links of what stands at the top of the document, and of the aggregated data below it.
  void compareMoves(const RowTexts& before, const QString& xml, const QString& to) {
    RowTexts expected = before;
    bool refused = false;
    QDomDocument document;
    each(rootOf(document, xml), [&](const QDomElement& element, bool isTop) {
      const QString key = element.attribute("KeyLink");
      if (isTop && expected.folders.contains(key)) {
        refused = refused || isBelow(before, to, key);
        expected.folders[key] = withField(expected.folders[key], "ParentKey", to);
      } else if (isTop && expected.units.contains(key)) {
        expected.units[key] = withField(expected.units[key], "RemoteUnitFolderKey", to);
      } else if (expected.measurements.contains(key) && (isTop ? !isAggregated(element) : movesAlong(element))) {
        if (!to.isEmpty()) expected.measurements[key] = withField(expected.measurements[key], "RemoteUnitKey", to);
      }
    });
    // A message tells of a refused write, and of nothing else.
    if ((waitingBox() != nullptr) != refused)
      wrong += refused ? "a refusal is not told" : "a message without a refusal";
    compare(refused ? before : expected, rows());
  }
  // Aggregated data goes with its primary; what lies in a unit or folder keeps its links.
  static bool movesAlong(const QDomElement& element) {
    return isAggregated(element) && isMeasurement(element.parentNode().toElement()) &&
           element.parentNode().parentNode().toElement().tagName() == "MyTree";
  }
  static bool isBelow(const RowTexts& all, QString key, const QString& folder) {
    for (std::set<QString> above; !key.isEmpty() && above.insert(key).second;) {
      if (key == folder) return true;
      key = part(all.folders.value(key), "ParentKey");
    }
    return false;
  }
  void compare(const RowTexts& expected, const RowTexts& found) {
    const auto differ = [this](const QMap<QString, QString>& a, const QMap<QString, QString>& b) {
      QStringList keys = a.keys() + b.keys();
      keys.removeDuplicates();
      for (const QString& key : qAsConst(keys))
        if (a.value(key) != b.value(key))
          wrong += QString("%1: expected %2, found %3").arg(key, a.value(key), b.value(key));
    };
    differ(expected.folders, found.folders);
    differ(expected.units, found.units);
    differ(expected.measurements, found.measurements);
  }

  // What was there is untouched; what is new has the classes of the document, and hangs under the target or among
  // itself.
  void compareCopies(const RowTexts& before, const QString& xml, const QString& to, bool withAggregated) {
    const RowTexts after = rows();
    RowTexts kept = after;
    QStringList made;
    const auto part = [&](QMap<QString, QString>& now, const QMap<QString, QString>& old, const char* folder) {
      for (const QString& key : now.keys()) {
        if (old.contains(key)) continue;
        made += folder ? folder : RandomWindows::part(now[key], "ClassName");
        checkCopy(after, before, now[key], to);
        now.remove(key);
      }
    };
    part(kept.folders, before.folders, "Folder");
    part(kept.units, before.units, nullptr);
    part(kept.measurements, before.measurements, nullptr);
    compare(before, kept);
    if (waitingBox()) wrong += "a copy is refused: " + waitingBox()->messageText();

    QStringList wanted;
    bool allThere = true;
    QDomDocument document;
    each(rootOf(document, xml), [&](const QDomElement& element, bool isTop) {
      allThere = allThere && rowExists(before, element.attribute("KeyLink"));
      if (!isAggregated(element) || (withAggregated && !isTop)) wanted += element.tagName();
    });
    made.sort();
    wanted.sort();
    if (allThere ? made != wanted : made.size() > wanted.size())
      wrong += QString("copied %1 instead of %2").arg(made.join(' '), wanted.join(' '));
    copies += made.size();
  }
  void checkCopy(const RowTexts& after, const RowTexts& before, const QString& text, const QString& to) {
    for (const char* field : kLinks) {
      const QString link = part(text, field);
      if (text.contains(QString(field) + '=') && link != to && (!rowExists(after, link) || rowExists(before, link)))
        wrong += QString("a copy hangs elsewhere: %1").arg(text);
    }
  }

  QStringList moreFaults() override {
    const RowTexts all = rows();
    QSet<QString> numbers;
    for (const QString& text : all.measurements) {
      const QString number = part(text, "locId");
      if (numbers.contains(number)) wrong += "a number twice: " + number;
      numbers.insert(number);
    }
    for (const QString& text : all.folders.values() + all.units.values() + all.measurements.values())
      for (const char* field : kLinks) {
        const QString link = text.contains(QString(field) + '=') ? part(text, field) : QString();
        if (!link.isEmpty() && !rowExists(all, link)) wrong += "a link to nothing: " + text;
      }
    for (const QString& text : all.measurements) {
      const QString primary = part(text, "primaryLocId");
      if (!primary.isEmpty() && !numbers.contains(primary)) wrong += "aggregated data of nothing: " + text;
    }
    return std::exchange(wrong, {});
  }

  QStringList wrong;
  int copies = 0;
};

TEST_F(RandomClipboard, LosesNothingAndMakesNothingThatNobodyMade) {
  play();
  std::printf("%6d objects copied\n", copies);
}

}  // namespace
}  // namespace tlm::test
