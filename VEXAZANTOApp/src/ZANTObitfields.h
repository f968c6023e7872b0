// The bits B0, B1, ... of a bit-pattern output, where base does not keep them in step with VAL.
#pragma once

struct mbboDirectRecord;

// On a base that rebuilds VAL from the bits when the record processes, and so loses what was put to
// VAL, has the bits follow VAL first; on others it does nothing. To be called when the record is
// initialised.
void ZANTOKeepBits(mbboDirectRecord *record);
