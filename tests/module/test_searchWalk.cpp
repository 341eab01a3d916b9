// The search by name against a plain telling of its walk over a model that is known whole.
#include <deque>
#include <random>

#include <QTextStream>

#include "ModuleWindow.h"

namespace tlm::test {
namespace {

enum class Kind { kRoot, kFolder, kUnit, kGroup, kMeasurement };

struct Row {
  Kind kind = Kind::kRoot;
  QString text;
  bool loaded = true;  // of a unit
  Row* parent = nullptr;
  int number = 0;
  std::deque<Row> below;

  bool holds(const QString& part) const { return text.contains(part, Qt::CaseInsensitive); }
  const std::deque<Row>& seen() const {
    static const std::deque<Row> kNone;
    return kind == Kind::kUnit && !loaded ? kNone : below;
  }
  // This row and all below it that hold the text, in display order.
  void gather(const QString& part, QList<const Row*>* hits) const {
    if (holds(part)) hits->append(this);
    for (const Row& row : below) row.gather(part, hits);
  }
};

void read(const MeasConfTreeModel& model, const QModelIndex& index, Row* row) {
  for (int i = 0; i < model.rowCount(index); ++i) {
    const QModelIndex child = model.index(i, 0, index);
    Row& kept = row->below.emplace_back();
    kept.parent = row;
    kept.number = i;
    kept.text = child.data().toString();
    kept.kind = isRemoteUnit(child)                   ? Kind::kUnit
                : nodeOf(child)->isFolder             ? Kind::kFolder
                : isGroupCaption(nodeOf(child)->text) ? Kind::kGroup
                                                      : Kind::kMeasurement;
    read(model, child, &kept);
  }
}

// The walk, told with plain rows.
class Telling {
 public:
  Row root;
  bool fromStart = true;

  const Row* press(const QString& text, const Row* start, bool forward) {
    if (place_ != -1) {
      const int next = place_ + (forward ? 1 : -1);
      if (next >= 0 && next < list_.size()) return list_[place_ = next];
    }
    forget();
    const Row* hit = pass(text, start, forward);
    if (hit || fromStart) return hit;
    const Row* end = &root;
    while (!forward && !end->seen().empty()) end = &end->seen().back();
    return pass(text, forward ? &root.below.front() : end, forward);
  }
  void forget() {
    list_.clear();
    place_ = -1;
  }

 private:
  static const Row* after(const Row* row) {  // behind the row and all below it
    for (; row->parent; row = row->parent)
      if (size_t(row->number) + 1 < row->parent->below.size()) return &row->parent->below[size_t(row->number) + 1];
    return nullptr;
  }
  static const Row* before(const Row* row) {
    if (row->number == 0) return row->parent->kind == Kind::kRoot ? nullptr : row->parent;
    row = &row->parent->below[size_t(row->number) - 1];
    while (!row->seen().empty()) row = &row->seen().back();
    return row;
  }
  static const Row* step(const Row* row, bool forward) {
    if (!forward) return before(row);
    return row->seen().empty() ? after(row) : &row->seen().front();
  }
  static const Row* stepUnit(const Row* row, bool forward) { return forward ? after(row) : before(row); }

  static bool unitHolds(const Row* unit, const QString& text) {
    QList<const Row*> hits;
    for (const Row& group : unit->below)
      for (const Row& row : group.below) row.gather(text, &hits);
    return !hits.isEmpty();
  }
  static void load(const Row* unit) { const_cast<Row*>(unit)->loaded = true; }

  const Row* take(int place) {
    place_ = place;
    fromStart = false;
    return place >= 0 ? list_[place] : nullptr;
  }

  const Row* pass(const QString& text, const Row* start, bool forward) {
    forget();
    const Row* beside = forward ? start : before(start);
    if (start->kind == Kind::kUnit && beside && beside->kind == Kind::kUnit && !beside->loaded &&
        unitHolds(beside, text))
      load(beside);
    QString last;
    const Row* at = step(start, forward);
    while (at) {
      if (at->holds(text)) {
        fromStart = false;
        return at;
      }
      list_.clear();
      switch (at->kind) {
        case Kind::kMeasurement: {
          if (!forward) last = at->parent->parent->text;
          for (const Row& row : at->parent->below)
            if (row.holds(text)) list_.append(&row);
          if (forward) {
            for (int i = 0; i < list_.size(); ++i)
              if (list_[i]->number >= at->number) return take(i);
          } else {
            for (int i = list_.size() - 1; i >= 1; --i)
              if (list_[i]->number <= at->number) return take(i);
          }
          at = step(forward ? &at->parent->below.back() : &at->parent->below.front(), forward);
          break;
        }
        case Kind::kUnit: {
          if (!at->loaded && unitHolds(at, text)) {
            load(at);
          } else if (!at->loaded || (!forward && last == at->text)) {
            at = stepUnit(at, forward);
            break;
          }
          for (const Row& row : at->below) row.gather(text, &list_);
          if (!list_.isEmpty()) return take(forward ? 0 : list_.size() - 1);
          at = stepUnit(at, forward);
          break;
        }
        case Kind::kGroup: {
          if (!forward) {
            last = at->parent->text;
            at = before(at);
            break;
          }
          for (const Row& row : at->below)
            if (row.holds(text)) list_.append(&row);
          if (!list_.isEmpty()) return take(0);
          at = step(at->below.empty() ? at : &at->below.back(), true);
          break;
        }
        default:
          at = step(at, forward);
      }
    }
    return nullptr;
  }

  QList<const Row*> list_;
  int place_ = -1;
};

// Names of few letters, so that parts of them occur everywhere; a number at the end keeps each apart.
QString randomModel(std::mt19937& dice) {
  QString text;
  QTextStream out(&text);
  out << "table MeasurementArchGroup Часовая {aggregatedData=1}\n";
  int number = 0;
  const auto roll = [&](int sides) { return int(dice() % unsigned(sides)); };
  const auto name = [&] {
    const QString letters = QStringLiteral("абв");
    return QString(letters[roll(3)]) + letters[roll(3)].toUpper() + letters[roll(3)] + QString::number(++number);
  };
  const char* kinds[] = {"analog", "discrete", "accumulator", "string"};
  const auto unit = [&](const QString& indent) {
    out << indent << "unit " << name() << '\n';
    for (int i = roll(7); i > 0; --i) {
      out << indent << "  " << kinds[roll(4)] << ' ' << 1000 + number << ' ' << name() << '\n';
      if (roll(4) == 0)
        out << indent << "    analog " << 1000 + number << ' ' << name() << " {MeasurementArchGroupKey=@Часовая}\n";
    }
  };
  for (int i = 0; i < 3; ++i) {
    out << "folder " << name() << '\n';
    for (int k = roll(4); k > 0; --k) unit("  ");
    out << "  folder " << name() << '\n';
    for (int k = roll(3); k > 0; --k) unit("    ");
  }
  for (int k = roll(3); k > 0; --k) unit("");
  return text;
}

void playSearches(unsigned seed) {
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 dice(seed);
  const std::string text = randomModel(dice).toStdString();
  EmbeddedServer server(text.c_str());
  TestApp host(*server.core());

  Telling telling;
  {
    CTlmMeasConfig whole(&host);
    whole.ModuleStart();
    for (const QModelIndex& unit : whole.treeModel->match(whole.treeModel->index(0, 0), kClassRole, "RemoteUnit", -1,
                                                          Qt::MatchFixedString | Qt::MatchRecursive))
      whole.AddMeasForRTU(unit, QString(), false, QString());
    whole.treeModel->sort(0, Qt::AscendingOrder);
    read(*whole.treeModel, QModelIndex(), &telling.root);
  }

  CTlmMeasConfig module(&host);
  module.ModuleStart();
  settle();
  QTreeView* tree = module.ui->tV_MeasConfig;
  const auto forUnits = [&](auto& self, Row& row) -> void {
    if (row.kind == Kind::kUnit) {
      const QModelIndex unit =
          module.treeModel->match(module.treeModel->index(0, 0), 0, row.text, 1, Qt::MatchExactly | Qt::MatchRecursive)
              .value(0);
      if (dice() % 3 == 0) module.AddMeasForRTU(unit, QString(), false, QString());
      row.loaded = nodeOf(unit)->isLoaded;
    }
    for (Row& below : row.below) self(self, below);
  };
  forUnits(forUnits, telling.root);
  module.treeModel->sort(0, Qt::AscendingOrder);

  const QString parts[] = {"а", "бв", "вв", "ааб", "1", "7", "12", "КП"};
  tree->setCurrentIndex(module.treeModel->index(0, 0));
  const Row* current = &telling.root.below.front();
  for (int act = 0; act < 40; ++act) {
    const QString part = parts[dice() % std::size(parts)];
    module.lE_Find->setText(part);
    module.onLeFindEdited(part);
    telling.forget();
    telling.fromStart = true;
    for (int press = int(dice() % 6) + 1; press > 0; --press) {
      const bool forward = dice() % 4 != 0;
      QModelIndex found;
      const bool hit = module.FindName(part, tree->currentIndex(), found, forward);
      const Row* told = telling.press(part, current, forward);
      SCOPED_TRACE(testing::Message() << "act " << act << ", \"" << part.toStdString() << "\", "
                                      << (forward ? "forward" : "backward") << " from " << current->text.toStdString());
      ASSERT_EQ(hit, told != nullptr) << (told ? told->text : found.data().toString()).toStdString();
      if (!hit) continue;
      ASSERT_EQ(found.data().toString(), told->text);
      ASSERT_EQ(found.parent().data().toString(), told->parent->text);
      current = told;
      // Opening what is above the row may sort it to another place.
      const myConfNode* node = nodeOf(found);
      tree->scrollTo(found);
      tree->setCurrentIndex(module.treeModel->indexOf(node));
    }
  }
}

TEST(SearchWalk, GivesTheHitsOfAPlainTelling) {
  for (unsigned seed = 1; seed <= 25; ++seed) {
    playSearches(seed);
    if (testing::Test::HasFatalFailure()) return;
  }
}

}  // namespace
}  // namespace tlm::test
