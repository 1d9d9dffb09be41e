#include "Loaders.h"

#include <tiny_obj_loader.h>

#include <assimp/scene.h>
#include <assimp/Importer.hpp>
#include <thread>
#include <vector>

#include "PluginCalls.h"
#include "document/OBJDocument.h"
#include "plugin/CallLimits.h"

namespace bench {
namespace {

class PluginLoader : public Loader {
 public:
  explicit PluginLoader(unsigned threads) : threads_(threads) {}
  bool load(const std::string& path) override {
    const unsigned before = KSmthGrpImpt_SetThreads(threads_);
    const bool loaded = loadModel(path) > 0.0F;
    KSmthGrpImpt_SetThreads(before);
    return loaded;
  }
  std::uint64_t faceCount() const override { return static_cast<std::uint64_t>(modelInfo("faceCount")); }
  void clear() override { freeModel(); }

 private:
  unsigned threads_;
};

class DocumentLoader : public Loader {
 public:
  /// 0 threads: as many as there are.
  explicit DocumentLoader(unsigned threads) { options_.threads = threads; }
  bool load(const std::string& path) override { return static_cast<bool>(document_.read(path, options_)); }
  std::uint64_t faceCount() const override { return document_.faces().size(); }
  void clear() override { document_ = WavefrontOBJ::OBJDocument(); }

 private:
  WavefrontOBJ::DocumentReadOptions options_;
  WavefrontOBJ::OBJDocument document_;
};

class TinyLoader : public Loader {
 public:
  bool load(const std::string& path) override {
    std::string warning;
    std::string error;
    return tinyobj::LoadObj(&model_->attributes, &model_->shapes, &model_->materials, &warning, &error,
                            path.c_str(), nullptr, false);
  }
  std::uint64_t faceCount() const override {
    std::uint64_t faces = 0;
    for (const tinyobj::shape_t& shape : model_->shapes) faces += shape.mesh.num_face_vertices.size();
    return faces;
  }
  void clear() override { model_ = std::make_unique<Model>(); }

 private:
  struct Model {
    tinyobj::attrib_t attributes;
    std::vector<tinyobj::shape_t> shapes;
    std::vector<tinyobj::material_t> materials;
  };
  std::unique_ptr<Model> model_ = std::make_unique<Model>();
};

class AssimpLoader : public Loader {
 public:
  bool load(const std::string& path) override {
    scene_ = importer_->ReadFile(path, 0);
    return scene_ != nullptr;
  }
  std::uint64_t faceCount() const override {
    std::uint64_t faces = 0;
    for (unsigned i = 0; i < scene_->mNumMeshes; ++i) faces += scene_->mMeshes[i]->mNumFaces;
    return faces;
  }
  void clear() override { importer_ = std::make_unique<Assimp::Importer>(); }

 private:
  std::unique_ptr<Assimp::Importer> importer_ = std::make_unique<Assimp::Importer>();
  const aiScene* scene_ = nullptr;
};

}  // namespace

std::unique_ptr<Loader> makeLoader(const std::string& name) {
  if (name == "plugin") return std::make_unique<PluginLoader>(1);
  if (name == "plugin_threads") return std::make_unique<PluginLoader>(std::thread::hardware_concurrency());
  if (name == "document") return std::make_unique<DocumentLoader>(1);
  if (name == "document_threads") return std::make_unique<DocumentLoader>(0);
  if (name == "tinyobjloader") return std::make_unique<TinyLoader>();
  if (name == "assimp") return std::make_unique<AssimpLoader>();
  return nullptr;
}

}  // namespace bench
