#include "classxml/xmlio/XMLIO.h"

CXMLIO::~CXMLIO() = default;
