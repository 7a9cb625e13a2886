#pragma once

#include "config/schema.h"

namespace cfgserver
{

using quorvad::dbm::Column;
using quorvad::dbm::findTable;
using quorvad::dbm::g_uiIdColumn;
using quorvad::dbm::getSchema;
using quorvad::dbm::TableSchema;

} // namespace cfgserver
