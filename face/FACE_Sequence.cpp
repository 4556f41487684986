#include "face/FACE_Sequence.h"

namespace FACE {

template class Sequence<TSS::QoS_Element>;

}  // namespace FACE
