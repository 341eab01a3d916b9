// What became of a telecontrol command, in words.
#ifndef TLMCLIENT_OPERATOR_OUTCOME_H
#define TLMCLIENT_OPERATOR_OUTCOME_H

#include <QString>

namespace tlm {

class Lines;

bool isDone(const Lines& outcome);  // executed, and nothing else

QString outcomeText(const Lines& outcome);  // of the lines that "CommandOutcome" answers with
QString unknownText();                      // while no answer came

}  // namespace tlm

#endif
