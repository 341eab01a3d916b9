// The telemetry configurator: a window with the tree of the measurement model and the passport beside it.
#ifndef TLMMEAS_CTLMMEASCONFIG_H
#define TLMMEAS_CTLMMEASCONFIG_H

#include "ClipboardDocument.h"
#include "LoadedUnits.h"

#include <TlmClient/CLiteModel.h>
#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/CTlmCliMod.h>
#include <TlmClient/TlmPassport.h>
#include <TlmMdx/CMDArray.h>

#include <QElapsedTimer>
#include <QItemSelection>
#include <QList>
#include <QModelIndex>
#include <QPointF>
#include <QSizeF>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <string>
#include <vector>

class CPopAddAgregData;
class CPopCopyByTemlate;
class CPopManualInput;
class CPopMessageBoxByTemplate;
class CPopRemoteControl;
class CTlmCliSes;
class DropHeaderView;
class MeasConfTreeModel;
class QAction;
class QActionGroup;
class QClipboard;
class QDomDocument;
class QDomElement;
class QGroupBox;
class QHBoxLayout;
class QLineEdit;
class QMenu;
class QRadioButton;
class QTextCodec;
class QToolBar;
class QToolButton;
class TlmDublies;
class Ui_TlmMeasConfig;
class myConfNode;
struct TEventNciParse;

// GUI thread only. Made by CppCliModule, owned by the host. The constructor touches no session; ModuleStart
// is called once, when the session stands. The members are open: the tree model, the loaders and the
// dialogs work on them.
class CTlmMeasConfig : public CTlmCliMod {
  Q_OBJECT

 public:
  // ---- CTlmMeasConfig_lifecycle.cpp: construction, start, subscriptions, timer, About ------------------
  explicit CTlmMeasConfig(CTlmCliApp* app);
  ~CTlmMeasConfig() override;

  int ModuleStart() override;  // always 1: what could not be loaded stays empty
  int MessageOn() override;
  int SetParamCommand(QString command) override;
  int SetParamProfile(QString text) override;
  QString GetParamProfile() override;
  void AppIdleEvent() override;
  void ModSesReconnect() override;
  void ModDataEditPost() override;
  void ModDataEditCancel() override;

  // Subscribes to 601-603, with `full` to 902-904 as well. Replaces the list.
  void PrepareSubEvent(bool full);
  // Subscribes to the live value of one measurement; below 1 to none.
  void PrepareSubParam(int id);

  CTlmCliSes* session() const;

  // ---- CTlmMeasConfig_layout.cpp: state text, columns, path bar ----------------------------------------
  int SetParamState(QString text) override;  // 1 when the text held the splitter's state
  QString GetParamState() override;
  QString stateModule() const;
  bool setStateModule(const QString& text);
  void resizeColumns(int treeW, int propW);  // widths in pixels
  // Where a pop-up of size `dialog` goes, left of and near `global`, within `area`; module coordinates.
  QPointF calcDialogPos(QPointF global, QSizeF dialog, QSize area);

  // ---- CTlmMeasConfig_actions.cpp: actions, menus, tool bars, what is enabled --------------------------
  void SetActions();
  void SetFindActions();
  void FillToolBar();
  void FillToolBarFind();
  void CreateContextMenu();
  void SetVisibleAddActGroup(QActionGroup* group, bool visible);
  void SetEnabledActions(bool analog, bool discrete, bool accumulator, bool string, bool rootFolder, bool folder,
                         bool rtu);  // sets what is visible
  void AddDelEnable(bool on);
  void SaveCancelEnable(bool on);

  // ---- CTlmMeasConfig_clipboard.cpp: the clipboard document and what may be pasted where ---------------
  void CheckEnabledPaste(QModelIndex index);
  void CheckEnabledCutCopy(Qt::KeyboardModifiers modifiers);
  void AddToXmlClipBoard(QDomDocument& doc, QDomElement& parent, QModelIndex index, bool isCut, bool markCut);
  void CheckAndAddSubNodes(QModelIndex index, QDomDocument& doc, QDomElement& parent, bool isCut, bool markCut);
  QString GetTopTableName(QString xml);
  QString GetTopKeyLink(QString xml);
  QString GetTemplateTableName(QString xml);
  void CheckDublChildIndex(QList<QModelIndex>& indexes);
  // The document of these rows, without those that come along with another one of them; fetches their units.
  QString makeDocument(QList<QModelIndex> rows, bool isCut, bool markCut);
  bool CheckIndexPaste(QModelIndex index, QString topTable);
  bool CheckIsParent(QString xml, QModelIndex index);

  // ---- CTlmMeasConfig_paste.cpp: objects copied or moved to a target -----------------------------------
  void ParseUpLevelXml(QString xml, QModelIndex index, bool isCopy, bool withAgreg);
  void ParseSubLevelXml(QDomElement element, QStringList& tables, QList<CMDArray*>& arrays, QString parentKey,
                        const QModelIndex& target, myConfNode* targetNode, int& usedFree, bool isCopy,
                        QList<int>& srcLocIds, QList<int>& newLocIds, QList<int>& freeNumbers, bool withAgreg);
  bool PrepareSaveGroupCopyORCut(QStringList& tables, QList<CMDArray*>& arrays, QString srcKey, QString className,
                                 QString targetKey, QString& newKey, int& usedFree, QList<int>& newLocIds, bool rename,
                                 QList<int>& freeNumbers, bool isCopy, int primaryLocId, QString archGroupKey);
  void ChangeNameCopy(QString& name);

  // ---- CTlmMeasConfig_template.cpp: series of objects from a template ----------------------------------
  bool CheckIndexTemplatePaste(QModelIndex index, QString className);
  void SaveCopyByTemplate(QModelIndex target);
  void ParseAndSaveXmlTemplate(QString xml, QModelIndex target);
  bool PrepareSaveGroupTemplate(QStringList& tables, QList<CMDArray*>& arrays, QString key, QString className,
                                QString remoteUnitKey, QList<int> numbers, QString name, bool copyFields,
                                bool copyAggregated, QStringList childKeys);

  // ---- CTlmMeasConfig_aggregated.cpp: aggregated data of a measurement ---------------------------------
  void CheckEnabledAgregData(QModelIndex index);
  bool PrepareSaveGroupAgreg(QStringList& tables, QList<CMDArray*>& changes, QString primaryKey, QString className,
                             QString primaryName, int primaryLocId, QStringList archGroupKeys, QList<int>& freeNumbers,
                             QList<MDRData*>& toDelete);

  // ---- CTlmMeasConfig_passport.cpp: the selection and the property sheet -------------------------------
  void UpdateTlmPassport(const QModelIndex& index);
  void UpdateTlmPassportMeas(QString key, QString table, bool withValue);
  // Fills the lists for a class; the arrays that are listed afterwards are `first` and `second`.
  void PrepareCmdArrayForPassport(CMDArray* first, CMDArray* second, QString className, QStringList& noEdit,
                                  QStringList& tables, QList<CMDArray*>& arrays, myConfNode* node, bool aggregated);
  void CheckFieldsAtPassport(QStringList passportFields, QStringList wanted, QStringList& result);
  void FieldIsChanged(QString className);

  // ---- CTlmMeasConfig_saving.cpp: checks and commits ---------------------------------------------------
  void Cancel();
  // Commits a ready change set; the arrays stay the caller's. Shows the error box on failure.
  bool Save(QStringList& tables, QList<CMDArray*>& arrays, bool isNew);
  bool CheckLocId(QString table, CMDArray* array, bool isNew);  // true: the number is taken
  bool CheckNullLocId(QString table, CMDArray* array);          // true: the number is null or 0
  bool CheckSrvGroup(QString table, CMDArray* array);           // true: passed, and so below
  bool CheckArchGroup(QString table, CMDArray* array);
  bool CheckFillName(QString table, CMDArray* array);

  // ---- CTlmMeasConfig_deleting.cpp ---------------------------------------------------------------------
  void CheckChildRemouteUnit(QModelIndex index, QList<QModelIndex>& visited, QList<QModelIndex>& unloaded);
  void DeleteAgregMeas(QList<MDRData*>& records, QString className);
  void PrepareDelRec(QStringList& tables, QList<CMDArray*>& arrays, QString key, QString className);

  // ---- CTlmMeasConfig_events.cpp: dispatch of the server's events --------------------------------------
  int MessageData(MDXCliParam* message) override;  // always 1

  // ---- CTlmMeasConfig_merge.cpp: record changes into the module's arrays -------------------------------
  MDRData* changeRecord(CMDArray* array, MDRData* record, TEventNciParse& ev, CMDArray* structure, bool onlyCarried);
  MDRData* changeRecord(CMDArray* array, MDRData* record, TEventNciParse& ev, bool changed, QString table, QString key);
  void changeComplexRecord(TEventNciParse& ev);
  MDRData* AddRecAndNodeByNci(TEventNciParse& ev, CMDArray* array, CMDArray* structure);  // makes no node
  void DelRecAndNodeByNci(TEventNciParse& ev, CMDArray* array, bool withNode);
  void FillKeyLinkIncomplete(TEventNciParse& ev);
  bool AddKeyLinkIncomplete(QString key, MDRData* record, CMDArray* array);
  bool FieldIsChanged(TEventNciParse& ev, QString field, CMDArray* structure, MDRVar& value);
  QString getRemoteUnitKey(TEventNciParse& ev, CMDArray* structure);
  void UpdatePassportMeas(TEventNciParse& ev);
  void UpdateData(QString key);

  // ---- CTlmMeasConfig_treeEvents.cpp: the tree follows the events --------------------------------------
  void AddNodeByEvent(QString key, QString className);
  void DeleteNodeByEvent(QString key);
  void MoveByEvent(QString key, QString newParentKey, bool isMeasurement, bool ownMove);
  void MoveNodeByEvent(QModelIndex source, QModelIndex target, bool ownMove);
  // Reads the parent link of a record into newParent (a null link leaves it); true when it differs from oldParent.
  bool ChangeParent(MDRData* record, CMDArray& array, const char* field, QString oldParent, QString& newParent);

  // ---- CTlmMeasConfig_search.cpp -----------------------------------------------------------------------
  void FindClear();
  bool FindValue(bool forward);
  bool FindName(QString text, QModelIndex start, QModelIndex& found, bool forward);
  bool FindKeyLink(QString text, QModelIndex& found);
  bool FindLocId(QString text, QModelIndex& found);

  // ---- CTlmMeasConfig_operator.cpp, CTlmMeasConfig_links.cpp: what opens from a measurement ------------
  bool CheckConditions(QString key, QString& message, int kind);  // true: the tool must not open
  void CreateManualInputSetting(int locId);
  void CreateDublSetting(const QString& key);
  bool CreateRemoteControl(int locId);
  bool CreateLinkMenu(const QString& key, QMenu* parent, const QObject* receiver, const char* slot);

  // ---- ../data/: catalogue, reference tables, scripts, loading of a unit -------------------------------
  void loadMdxTables();
  void GetStructTables();
  void FillTableStructures();
  void FillClassesEnabledAgreg();
  int GetPosFieldAtCMDArray(CMDArray* array, QString name);  // -1 when there is no such field
  void getLiteModel(QString key, CLiteModel& model);         // empty when the server does not know the object
  void GetFreeLocId(int& locId);
  void LocIdIsBusy(int locId, bool& busy);
  void IsValueAtMeasurementsOfRTU(QString rtu, QString value, bool& found);
  void GetMeasurementsForRTU(QString rtu, QStringList* keys, bool filter, QString except);
  void GetMeasurementsForEmptyRTU();
  void GetCountFreeLocIdFromGiven(QList<int>& list, int countNeed, int locidBeg);
  void GetCountFreeLocIdAtRange(QStringList& busy, int countNeed, int locidBeg, int locidEnd, int step);
  bool FillCmdArray(CTlmCliSes* session, std::string request, CMDArray& out);
  bool AddMeasForRTU(QModelIndex unit, QString rtuKey, bool skipOne, QString skipKey);

  // ---- ../data/: navigation over the tree --------------------------------------------------------------
  QModelIndex GetNextIndex(QModelIndex index);
  QModelIndex GetPrevIndex(QModelIndex index);
  QModelIndex GetNextRTUIndex(QModelIndex index);
  QModelIndex GetPrevRTUIndex(QModelIndex index);
  bool GetIndexParent(QModelIndex index, QModelIndex& parent);
  QString GetKeyLinkByModelIndex(QModelIndex index);
  QString GetKeyLinkRTU(QModelIndex index);

 signals:
  void resizePassp();

 public slots:
  // The order is part of the module's meta object; behind each slot the suffix of its source file.
  void ExecAboutProg(bool fl);                                                          // _lifecycle
  void ExecAddActGroup(QAction*);                                                       // _adding
  void ExecActAdd(QString ClassName, QString KeyLinkRTU, bool fl_root);                 // _adding
  void ExecActDel();                                                                    // _deleting
  void confirmDelGroup(QAbstractButton* clickedButton);                                 // _deleting
  void ExecActAgregData();                                                              // _aggregated
  void ExecEditActGroup(QAction*);                                                      // _clipboard
  void ExecActCut(QModelIndex ind);                                                     // _clipboard
  void ExecActCopy(QModelIndex ind);                                                    // _clipboard
  void ExecActPaste(QModelIndex indPar, bool fl_WithAgreg);                             // _paste
  void ExecActCopyTemplate();                                                           // _template
  void ExecActFind(QModelIndex ind);                                                    // _search
  void ExecFindActGroup(QAction*);                                                      // _search
  void ExecFindClose();                                                                 // _search
  void ChangeToolBarCfg();                                                              // _layout
  int CheckCurrentWight(int curWight, int count);                                       // _layout
  void onPasspChanged();                                                                // _passport
  void onSignMessage(QString text);                                                     // _passport
  void CheckSetEnabledActions();                                                        // _actions
  void slotMeasContextMenuRequested(QPoint pos);                                        // _actions
  void confirmSave(QAbstractButton* clickedButton);                                     // _saving
  void onActSave_Triggered();                                                           // _saving
  void onActCancel_Triggered();                                                         // _saving
  void OnSetManuslAction();                                                             // _operator
  void OnSetDublieslAction();                                                           // _operator
  void OnRemoteControl();                                                               // _operator
  void slot_CliWidgetClosed(QWidget*, int);                                             // _operator
  void OnShowRetroAction();                                                             // _links
  void OnLinksAction();                                                                 // _links
  void onSplitterMoved(int pos, int index);                                             // _layout
  void onDataChanged_clipboard();                                                       // _clipboard
  void OnTV_keysModif(Qt::KeyboardModifiers);                                           // _actions
  void confirmMessage(QAbstractButton* clickedButton);                                  // _passport
  void OnTV_Clicked(QModelIndex);                                                       // _passport
  void OnTV_selectionChanged(QItemSelection selected, QItemSelection deselected);       // _passport
  void slotExpandedTVMeas(QModelIndex);                                                 // ../data/
  void slotCollapsedTVMeas(QModelIndex);                                                // ../data/
  void OnSetFocusRow(QModelIndex id);                                                   // _search
  void OnAddAgregData_SignOKEmpty();                                                    // _aggregated
  void OnAddAgregData_SignOK(QStringList);                                              // _aggregated
  void OnCopyByTemplate_SignOK(QString, QString, int BegLocId, int EndLocId, QString);  // _template
  void OnMessageBoxByTemplate_SignOK();                                                 // _template
  void OnResizePassp();                                                                 // _layout
  void ExecTlBarCfgAction();                                                            // _layout
  void onLeFindEdited(QString);                                                         // _search
  void onLeRetPressed();                                                                // _search
  void onTimerMeasEvent();                                                              // _lifecycle
  void onSelectValuesVisible(QString TablRefName, QString paramFld, QString paramTbl, QString Name,
                             QString BaseVoltageKey);  // _passport
  void onSelectValuesClosed();                         // _passport

 protected:
  void keyReleaseEvent(QKeyEvent* event) override;  // _actions
  void resizeEvent(QResizeEvent* event) override;   // _layout

 public:
  Ui_TlmMeasConfig* ui;
  DropHeaderView* headerView = nullptr;
  QToolBar* toolBarCfg = nullptr;   // the path bar
  QToolBar* toolBarFind = nullptr;  // the search bar
  QAction* actDel = nullptr;
  QAction* actAgregData = nullptr;
  QToolButton* btnAdd = nullptr;
  QActionGroup* addActGroup = nullptr;
  QAction* actAddRootFolder = nullptr;
  QAction* actAddFolder = nullptr;
  QAction* actAddAnalog = nullptr;
  QAction* actAddDiscrete = nullptr;
  QAction* actAddAccumulator = nullptr;
  QAction* actAddString = nullptr;
  QAction* actAddRTU = nullptr;
  QAction* actSave = nullptr;
  QAction* actCancel = nullptr;
  QActionGroup* editActGroup = nullptr;
  QAction* actCut = nullptr;
  QAction* actCopy = nullptr;
  QAction* actCopyTemplate = nullptr;
  QAction* actFind = nullptr;
  QToolButton* btnPaste = nullptr;
  QAction* actPaste = nullptr;
  QAction* actPasteNoAgreg = nullptr;
  QActionGroup* findActGroup = nullptr;
  QAction* actFindPrev = nullptr;
  QAction* actFindNext = nullptr;
  QAction* actFindClose = nullptr;
  QToolButton* btnAbout = nullptr;
  QAction* actManual = nullptr;
  QAction* actDubl = nullptr;
  QAction* actRemoteControl = nullptr;
  QAction* actRetro = nullptr;
  CPopManualInput* popManualInput;  // made on first use, as the next two
  CPopRemoteControl* popRemoteControl;
  TlmDublies* popDublies;
  QMenu* linkMenu;  // rebuilt at each request of the context menu
  QMenu* contextMenu = nullptr;
  QMenu* addMenu = nullptr;
  QMenu* pasteMenu = nullptr;
  QLineEdit* lE_Find = nullptr;
  QGroupBox* groupBox = nullptr;
  QHBoxLayout* horizontalLayout = nullptr;
  QRadioButton* radioButton_Name = nullptr;
  QRadioButton* radioButton_KeyLink = nullptr;
  QRadioButton* radioButton_LocID = nullptr;
  QList<QModelIndex> foundIndexes;
  int foundPos;
  bool findFromStart;
  int numfieldRTUKey;  // position of "RemoteUnitKey" in the Measurement table, -1 until known
  QTextCodec* moduleCodec = nullptr;
  CPopAddAgregData* popAddAgregData = nullptr;
  CPopCopyByTemlate* popCopyByTemlate = nullptr;
  CPopMessageBoxByTemplate* popMessageBoxByTemplate = nullptr;
  bool columnsResized;
  int treeWidth;  // last known widths in pixels, 0 at start
  int propWidth;
  bool newObjectInPassport = false;
  bool passportEdited = false;
  bool groupDeletePending = false;
  bool saveRefused = false;
  MeasConfTreeModel* treeModel = nullptr;
  TlmPassport passport;
  QString currentRowName;       // number of the first selected row, as shown
  QString selectValuesArgs[5];  // of the selection list that is open; empty without one
  QStringList pendingDeletes;   // "key,class"
  QStringList loadedRemoteUnits;
  QStringList tableNames;  // classes, and the tables of each, joined by ","
  QStringList tableLists;
  QList<CMDArray*> tableStructs[6];
  QClipboard* clipboard = nullptr;
  bool clipIsCopy = false;
  QString clipText;
  int clipCopyCount = 0;
  QString clipPasteTarget;
  QString clipTopTable;
  QString clipTemplateTable;
  QString dragTableName;          // of the document that is being dragged
  QStringList keyLinkIncomplete;  // objects announced by the first of their two add events
  QStringList keyLinkIncompleteInfo;
  QStringList srvGroups;  // server groups, asked for by the merged passport
  QList<int> freeLocIds;
  QList<int> agregLocIds;
  bool templatePasteOn = false;
  QList<int> pendingTelecontrol;  // numbers of commands without a receipt
  QStringList ownMoves;           // keys whose parent link was changed from here
  QStringList fieldNamesKeyRefs;
  QTimer measTimer;
  QStringList classesEnabledAgreg;
  CLiteModel liteModel;  // of the object shown
  CMDArray measRecords;
  CMDArray tblRemoteUnit, tblRemoteUnitFolder, tblTables, tblFields, tblFieldsType, tblArchGroup, tblArchives,
      tblCalculations;
  CMDArray strIdentifiedObject, strMeasurement, strRemoteUnit, strRemoteUnitFolder, strAnalog, strDiscrete,
      strAccumulator, strStringMeasurement;

 private:
  // _lifecycle
  void makePathBar();
  void makeTree();
  void makeFindBar();
  void makeHeader();
  void makeDialogs();
  void connectWindow();
  void showTree();
  // The shared box. `slot` takes the clicked button; null for the one that closes it.
  void showBox(const QString& boxTitle, const QString& text, TMessageBoxIcon icon, TMessageBoxType type,
               const char* slot = nullptr);
  // _actions
  void showOperatorTools(const QModelIndex& index);
  // _clipboard
  void putSelection(bool isCut);
  void offerPaste(bool on);
  QDomElement addElement(QDomDocument& doc, QDomElement& parent, const QModelIndex& index, bool mark);
  void forgetCut();
  DocumentFacts documentFacts;  // of clipText and of what was written last
  // _paste
  struct PasteRun;
  void pasteTop(PasteRun& run, const QDomElement& element, const QString& targetKey);
  void pasteBelow(PasteRun& run, const QDomElement& element, const QString& parentKey);
  void pasteMeasurement(PasteRun& run, const QDomElement& element, const QString& unitKey, bool isTop, bool rename);
  bool mapPrimary(const PasteRun& run, const QDomElement& element, bool isTop, int& primary) const;
  bool pasteObject(PasteRun& run, const QDomElement& element, const QString& parentKey, bool rename, QString& newKey,
                   int primary = 0);
  int takeFreeNumber(QList<int>& numbers, int& used);
  // _layout
  void watchWidths();
  void fitColumns();
  QToolButton* addPathButton();
  void resizePropColumns(int propW);
  void clearPathBar();
  void followPath();
  QStringList shownPath;  // names and keys that the path bar shows, the nearest first
  // _passport
  QModelIndexList selectedRows() const;
  bool leaveEditedObject(const QItemSelection& selected, const QItemSelection& deselected);
  void declareRow(myConfNode* node, int count, const QString& label);
  struct SheetForm;
  void showObject(const QModelIndex& index, bool isSelection);
  bool prepareForm(const QModelIndex& index, SheetForm& form);
  void showUnknown(const QModelIndex& index, SheetForm& form, bool isSelection);
  void showSeveral(const QModelIndexList& rows);
  void showMerged(const QModelIndexList& rows, QStringList noEdit);
  void lockFields(const QStringList& noEdit);
  void rememberSheet(const QStringList& keys, const QString& number);
  // _saving
  bool checkedForSave(const QStringList& tables, const QList<CMDArray*>& arrays, bool single);
  bool keepsNumber(const CMDArray& array, int locId) const;
  QString refusal(const QString& table, CMDArray* array, bool single);
  void queueRecords(const QString& table, CMDArray& source, bool insert, bool ofPassport);
  bool endBlock(bool wait);
  bool commitDeletes();
  bool commitInsert(const QStringList& tables, const QList<CMDArray*>& arrays);
  bool commitUpdate(const QStringList& tables, const QList<CMDArray*>& arrays);
  void noteOwnMoves(const CMDArray& array, const MDRData* record, const QString& key);
  bool sendRecords(const QStringList& tables, const QList<CMDArray*>& arrays, bool insert, bool ofPassport, bool wait);

  // _search
  struct FoundPlace {
    QString key;           // of the object, or of the unit that a group stands under
    QString groupCaption;  // empty for an object
  };
  void goTo(const QModelIndex& found);
  bool stepThroughHits(bool forward, QModelIndex& found);
  bool walkForName(const QString& text, const QModelIndex& start, QModelIndex& found, bool forward);
  FoundPlace placeOf(const QModelIndex& index) const;
  QModelIndex indexOfPlace(const FoundPlace& place) const;
  QModelIndex rowWithNumber(const QString& text);
  bool openUnitOf(const CMDArray& records, QModelIndex& unit);
  std::vector<FoundPlace> foundPlaces;  // where to find foundIndexes again after a change of the tree

  // _events
  void eventChanged(TEventNciParse& ev);
  void eventAdded(TEventNciParse& ev);
  void eventDeleted(TEventNciParse& ev);
  void reloadSelectList(const QString& table);
  void changeMeasurement(TEventNciParse& ev);
  void bringSheetBack(const QModelIndex& clicked);
  QString justSelected;  // the key of the row whose sheet a selection has shown, until a click ends
  void showChange(const QString& key, bool isMerged);  // its row, then its sheet
  void paintChange();
  void changeParented(TEventNciParse& ev, CMDArray& array, CMDArray& structure, const char* parentField);
  void changeInPlace(TEventNciParse& ev, CMDArray& array);
  void changeCalculation(TEventNciParse& ev, bool changed);
  void changeCheckTu(TEventNciParse& ev);
  void showTuReceipt(MDXCliParam* message);
  bool takeOwnMove(const QString& key);
  void addMeasurement(TEventNciParse& ev);
  bool isUnitLoaded(const QString& unitKey);
  // _adding
  void takeBackAdded();
  // _merge
  void delOwn(CMDArray& array, MDRData* record);
  int incompleteEntry(const QString& key) const;
  void dropIncomplete(int at);
  // _treeEvents
  QModelIndex rowOf(const QString& key) const;
  void addMeasurementNode(MDRData* record, const QString& key);
  void followMeasurement(MDRData* record, const QString& key, const QString& newUnit, bool ownMove);
  void makeDefaultUnit();
  void forgetLoaded(const QString& unitKey);  // takes it off the list of open units
  // The key of the nearest row above that has one, and the landing there: when the view has no current row any
  // more, the row of that key becomes it. What is current then is the selection.
  QString keyAbove(const QModelIndex& index) const;
  void landSelection(const QString& fallbackKey);
  void selectCurrent(const QModelIndex& index);  // alone, with its path; clears the selection without a row

  QObjectList widthWatches;        // what tells of new widths; gone before the widgets
  QElapsedTimer painted;           // since a change was last painted at once
  bool columnsAwaitModel = false;  // resizeColumns was called while the tree had no columns
  LoadedUnits loadedUnits{loadedRemoteUnits};
  QString addedKey;       // of the new object, while there is one
  QStringList sheetKeys;  // the objects that the passport was filled for, in the order of the selection
};

#endif
