// What the operator's panels say to the server.
#ifndef TLMCLIENT_OPERATOR_EXCHANGE_H
#define TLMCLIENT_OPERATOR_EXCHANGE_H

#include <QByteArray>
#include <QString>

class CTlmCliSes;
class QTextCodec;
class QWidget;

namespace tlm {

// The session of the module that a panel stands in; null without one.
CTlmCliSes* sessionAround(const QWidget* panel);

QTextCodec* serverCodec();  // Windows-1251

struct Answer {
  enum Kind {
    kUnsent,  // the request did not go out: the line is known to be dead
    kNone,    // it went out, no answer came
    kGiven
  };
  Kind kind = kUnsent;
  int status = 0;
  QByteArray text;  // of a good answer (Windows-1251)
  QString why;      // of any other

  bool good() const { return kind == kGiven && status == 0; }
};

// Sends a named request and waits at most so long.
Answer ask(CTlmCliSes* session, const char* name, const QByteArray& body, int timeoutMs);

// What the operator is told when a request was not carried out.
QString refusalText(const Answer& answer);

// What he is told when "MeasParams" does not answer with the measurement that his panel was opened for.
QString goneText(const Answer& answer);

// Lines of name=value, as the server sends them.
class Lines {
 public:
  explicit Lines(const QByteArray& text = {}) : text_(text) {}
  bool has(const char* name) const;
  QString value(const char* name) const;  // empty when there is none
  double number(const char* name, double otherwise = 0) const;
  bool flag(const char* name) const { return value(name) == QLatin1String("1"); }
  bool isEmpty() const { return text_.isEmpty(); }

 private:
  int find(const char* name) const;
  QByteArray text_;
};

// One line of a body; line breaks in the value become blanks.
QByteArray line(const char* name, const QByteArray& value);

}  // namespace tlm

#endif
