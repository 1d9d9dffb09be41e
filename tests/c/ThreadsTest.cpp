// Threads that share handles of the C interface, and ask for the same lists for the first time.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "c/KSmthGrp.h"

TEST(Threads, ShareHandlesOfTheCInterface) {
  std::string text = "mtllib none.mtl\n";
  for (int i = 1; i <= 3000; ++i) {
    const std::string corner = std::to_string(i);
    text += "v " + corner + " 0 0 1 0.5 0\nvt 0 1\ng " + "abc"[i / 10 % 3] + "\ns " + "12"[i / 5 % 2] + "\n";
    if (i > 2) text += "f " + corner + " " + std::to_string(i - 1) + " " + std::to_string(i - 2) + "\n";
  }
  text += "quux\n";
  KSmthDocument* document = nullptr;
  KSmthModel* model = nullptr;
  ASSERT_EQ(KSMTH_OK,
            ksmth_document_open_memory(text.data(), text.size(), nullptr, nullptr, nullptr, &document));
  ASSERT_EQ(KSMTH_OK, ksmth_model_open_memory(text.data(), text.size(), nullptr, nullptr, nullptr, &model));
  struct Seen {
    std::vector<const void*> lists;
    std::string written;
    std::string reason;
  };
  Seen seen[3];
  const auto work = [&](int thread) {
    Seen& mine = seen[thread];
    const double* doubles = nullptr;
    const float* floats = nullptr;
    const KSmthMembers* members = nullptr;
    const KSmthFinding* findings = nullptr;
    const KSmthModelFaces* faces = nullptr;
    const KSmthLibrary* libraries = nullptr;
    const KSmthModelGroup* groups = nullptr;
    std::size_t count = 0;
    ksmth_document_doubles(document, KSMTH_POSITIONS, 3, &doubles);
    ksmth_document_colours(document, &floats);
    ksmth_document_members(document, KSMTH_GROUPS, KSMTH_FACES, &members);
    ksmth_document_findings(document, KSMTH_LINT_NUMBERS | KSMTH_LINT_GEOMETRY, nullptr, &findings, &count);
    ksmth_model_faces(model, &faces);
    ksmth_document_libraries(document, &libraries, &count);
    mine.lists = {doubles, floats, members, findings, faces, libraries};
    ksmth_model_vectors(model, KSMTH_POSITIONS, &floats);
    ksmth_model_groups(model, &groups, &count);
    mine.lists.insert(mine.lists.end(), {floats, groups});
    const auto append = [](const void* bytes, std::size_t size, void* user) {
      static_cast<std::string*>(user)->append(static_cast<const char*>(bytes), size);
      return 0;
    };
    KSmthTarget target{sizeof(KSmthTarget), nullptr, append, &mine.written};
    ksmth_document_write(document, nullptr, nullptr, &target, nullptr, nullptr);
    ksmth_model_write(model, 0, nullptr, &target, nullptr);
    // The reason is the thread's own.
    const auto fail = [](const std::string& name) {
      KSmthDocument* none = nullptr;
      ksmth_document_open(name.c_str(), nullptr, nullptr, &none);
    };
    const std::string name = "no/such/file/" + std::to_string(thread);
    fail(name);
    std::thread(fail, "no/other/file").join();
    mine.reason.resize(ksmth_error_text(nullptr, 0) + 1);
    ksmth_error_text(mine.reason.data(), mine.reason.size());
    EXPECT_NE(std::string::npos, mine.reason.find(name));
  };
  std::thread first(work, 1);
  std::thread second(work, 2);
  first.join();
  second.join();
  work(0);
  for (const void* list : seen[0].lists) EXPECT_NE(nullptr, list);
  for (int i = 1; i < 3; ++i) {
    EXPECT_EQ(seen[0].lists, seen[i].lists);
    EXPECT_TRUE(seen[0].written == seen[i].written && seen[0].written.size() > 100000);
  }
  ksmth_document_close(document);
  ksmth_model_close(model);
}
