// hdcd_gain_table.cpp: the factors of the HDCD gain setting.
#include "convert/sample_formats.h"

namespace tonekit {

// 10^(n/20). [4] is one unit in the last place away from what pow() gives; keep it.
const double HdcdGainTable[7] = {
    1.0,
    1.1220184543019633,
    1.2589254117941673,
    1.4125375446227544,
    1.5848931924611134,
    1.7782794100389228,
    1.9952623149688795,
};

} // namespace tonekit
