#include "items/register_items.h"

#include "items/shell_file.h"
#include "items/shell_table.h"
#include "items/value_item.h"
#include "items/xml_file_hooks.h"

void RegisterItemLayer() {
    RegisterValues();
    RegisterTables();
    RegisterFiles();
    RegisterXmlFiles();
    RegisterXmlCommands();
}
