#include "popMessageBoxByTemplate.h"

CPopMessageBoxByTemplate::CPopMessageBoxByTemplate(QWidget* parent) : CPopTemplate(parent) { hide(); }
