#include "classxml/platform/LocalizationManager.h"

LocalizationManager::LocalizationManager() = default;
LocalizationManager::~LocalizationManager() = default;
