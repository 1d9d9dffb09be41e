#include "plugin/Mesh3DUtils.h"

#include "system/Host.h"

std::uint8_t sDefaultMaskValue = 0;

bool AMem::IsAvailable() const {
  return offlineCount == 0 && (stateFlags & kSwappedOut) == 0;
}

bool Mesh3D_IsLoaded(AMash3DDXF* mesh) {
  if (mesh == nullptr) return true;
  const auto* pointMessage =
      "Mesh point-data is currently compressed or offline. Please reload and try again";
  const auto* attributeMessage =
      "Mesh attributes-data is currently compressed or offline. Please reload and try again";
  const struct {
    const AMemArray* array;
    const char* message;
  } arrays[] = {
      {mesh->subdivisionData.get(),
       "Subdiv data is currently compressed or offline. Please reload and try again"},
      {mesh->vertexAttributes.get(), attributeMessage},
      {mesh->secondAttributeData.get(), attributeMessage},
      {mesh->pointData.get(), pointMessage},
      {mesh->secondPointData.get(), pointMessage},
  };
  for (const auto& [array, message] : arrays) {
    if (array == nullptr || !array->block || array->block->IsAvailable()) continue;
    Sys_SystemMsgOk(message);
    return false;
  }
  return true;
}

std::int32_t Mesh3D_GetVertexAttribCount(AMash3D* mesh) {
  return mesh != nullptr && mesh->vertexAttributes ? mesh->vertexAttributes->count : 0;
}
