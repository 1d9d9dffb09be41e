/* The groups of an OBJ file by the plug-in calls, as a host makes them. Arguments: the file, and
 * libKSmthGrpImpt.so. Of the robot it prints first: 11 groups
 */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

typedef float Call(const char* text, double number, char* block, uint32_t, uint32_t, uint32_t,
                   void* host_data);

static Call* find(void* plugin, const char* name) {
  void* const found = dlsym(plugin, name);
  Call* call = NULL;
  memcpy(&call, &found, sizeof call);
  return call;
}

int main(int argc, char** argv) {
  static char block[1 << 20]; /* KSmthGrpImpt_SetTextLimit is for those who have less to spare */
  void* const plugin = argc < 3 ? NULL : dlopen(argv[2], RTLD_NOW);
  if (plugin == NULL) return 2;
  const int groups = (int)find(plugin, "LoadOBJFile")(argv[1], 0, block, 0, 0, 0, NULL);
  if (groups >= 0) printf("%d groups\n", groups);
  for (int i = 1; i <= groups; ++i) {
    if (find(plugin, "GetOBJGroupInfo")("name", i, block, 0, 0, 0, NULL) == 0) printf("%s\n", block);
  }
  if (groups < 0) fprintf(stderr, "%s", block);
  return groups < 0;
}
