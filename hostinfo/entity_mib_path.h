// Where the registration file is written. Internal to this folder.
#ifndef TVUREV_HOSTINFO_ENTITY_MIB_PATH_H_
#define TVUREV_HOSTINFO_ENTITY_MIB_PATH_H_

// "/etc/config/ent_mib/ort.xml", unless it was set to something else. The text
// is not owned. Read by update_ent_mib_xml; nothing here writes it.
extern const char* g_entity_mib_path;

#endif  // TVUREV_HOSTINFO_ENTITY_MIB_PATH_H_
