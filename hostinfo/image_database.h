// Where the hypervisor keeps its package description files.
#ifndef TVUREV_HOSTINFO_IMAGE_DATABASE_H_
#define TVUREV_HOSTINFO_IMAGE_DATABASE_H_

inline constexpr const char* kBulletinDirectory = "/var/db/esximg/bulletins/";

#endif  // TVUREV_HOSTINFO_IMAGE_DATABASE_H_
