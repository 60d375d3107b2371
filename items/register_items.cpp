#include "items/register_items.h"

#include "items/shell_table.h"
#include "items/value_item.h"

void RegisterItemLayer() {
    RegisterValues();
    RegisterTables();
}
