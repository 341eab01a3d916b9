// Decoded forms of the server's event messages.
#ifndef TLMMEAS_EVENTS_H
#define TLMMEAS_EVENTS_H

#include <TlmMdx/mdx.h>

#include <QString>

class QTextCodec;

// Kinds of event messages.
enum TEventKind {
  kEventAdded = 601,
  kEventChanged = 602,
  kEventDeleted = 603,
  kEventOther = 631,  // decoded like an add, acted on by nobody
  kEventTuRefused = 902,
  kEventTuDone = 903,
  kEventTuTimeout = 904
};

// A change of a model table. Points into the message, which must outlive it.
struct TEventNciParse {
  TEventNciParse(MDXCliParam* message, QTextCodec* codec);
  ~TEventNciParse();
  TEventNciParse(const TEventNciParse&) = delete;
  TEventNciParse& operator=(const TEventNciParse&) = delete;

  MDXCliParam* param;
  int kind = 0;
  const char* key = "";        // Windows-1251, zero-terminated
  const char* paramText = "";  // the same
  QString table;               // empty when the parameter text holds none
  MDRType var;                 // the type of the record's image; without an image it has no fields
  MDRData rec;                 // the image
};

// The receipt of a telecontrol command.
struct TEventTuParse {
  explicit TEventTuParse(MDXCliParam* message);

  MDXCliParam* param;
  int kind = 0;
  int locId = 0;
  double time = 0;  // server time
  int extra = 0;
};

#endif
