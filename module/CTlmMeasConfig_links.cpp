#include "CTlmMeasConfig.h"
#include "IndexFacts.h"
#include "RecordAccess.h"
#include "ui_TlmMeasConfig.h"

#include <TlmClient/CTlmCliApp.h>
#include <TlmClient/CTlmCliSes.h>
#include <TlmClient/CTlmToolCalcExec.h>

#include <QAction>
#include <QGuiApplication>
#include <QMenu>

namespace {

constexpr int kHostCommand = 64;
constexpr int kInNewWindow = 1;

enum FormField { kFile = 0, kCaption = 1, kOrder = 2 };

// Leaves the table with one key, that on its field of order. A table without such a field keeps its own order.
void orderForms(MDArray* forms) {
  const char* field = MDAFldName(forms, kOrder);
  if (!field) return;
  MDRKeyDesc key{};
  qstrncpy(key.expression, field, sizeof key.expression);
  MDAKeyAdd(forms, 1, &key);
  while (MDAKeyCount(forms) > 1) MDAKeyDel(forms, 0);
}

QString textAt(MDArray* table, const MDRData* record, int field, QTextCodec* codec) {
  MDRVar value{};
  MDRGetVal(MDRFldByNum(table, field), record, &value);
  return decodeVar(value, codec);
}

// A command to the host; with the Control key held it works in a new window.
void callHost(CTlmCliMod* module, const char* command, const QByteArray& parameter) {
  const bool control = QGuiApplication::keyboardModifiers().testFlag(Qt::ControlModifier);
  TlmHostCall call{control ? kInNewWindow : 0, command, parameter.constData()};
  module->doCall(kHostCommand, &call);
}

}  // namespace

// The server is asked at each call. The table of forms is the tool's, and goes with it.
bool CTlmMeasConfig::CreateLinkMenu(const QString& key, QMenu* parent, const QObject* receiver, const char* slot) {
  linkMenu = new QMenu(tr("Перейти"), parent);
  parent->addMenu(linkMenu);
  CTlmToolCalcExec tool(this);
  tool.procedure = QStringLiteral("SrvReq_ObjectForms");
  const QByteArray encoded = moduleCodec->fromUnicode(key);
  CVarSetArr(&tool.args, 1);
  CVarSetStr(tool.args.items, encoded.constData(), encoded.size());
  tool.Perform(false);
  if (tool.state != CTlmToolObject::kFinished) {
    linkMenu->setEnabled(false);
    return false;
  }
  MDArray* const forms = tool.result.type == CVAR_TABLE && tool.result.table ? *tool.result.table : nullptr;
  if (forms) orderForms(forms);
  for (int i = 0; forms && i < MDARecCount(forms); ++i) {
    const MDRData* form = MDARec(forms, 0, i);
    QAction* action = linkMenu->addAction(textAt(forms, form, kCaption, moduleCodec));
    connect(action, SIGNAL(triggered()), receiver, slot);
    action->setData(QStringLiteral("%1,%2").arg(textAt(forms, form, kFile, moduleCodec), key));
  }
  if (linkMenu->isEmpty()) linkMenu->setEnabled(false);
  return true;
}

void CTlmMeasConfig::OnLinksAction() {
  const QObject* from = sender();
  if (!linkMenu || !from || qstrcmp(from->metaObject()->className(), "QAction") != 0) return;
  const QVariant link = static_cast<const QAction*>(from)->data();
  if (link.type() != QVariant::String) return;
  const QStringList parts = link.toString().split(QLatin1Char(','));
  callHost(this, "RUN_FILE",
           moduleCodec->fromUnicode(parts.value(0)) + ";object=" + moduleCodec->fromUnicode(parts.value(1)));
}

void CTlmMeasConfig::OnShowRetroAction() {
  const QModelIndex index = ui->tV_MeasConfig->currentIndex();
  if (!index.isValid()) return;
  const QString key = keyOf(index);
  if (key.isEmpty()) return;
  callHost(this, "RUN_MOD", QStringLiteral("TlmRetro.modRetroQuick;Key=%1").arg(key).toUtf8());
}
