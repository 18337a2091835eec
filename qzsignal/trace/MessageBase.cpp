// The record version of a process. Recordings of the current generation have the 16-bit record type.
#include "qzsignal/trace/MessageBase.h"

unsigned char MessageBase::version = 1;
