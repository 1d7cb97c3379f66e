#include "xmlio/XMLIO.h"

CXMLIO::~CXMLIO() = default;
