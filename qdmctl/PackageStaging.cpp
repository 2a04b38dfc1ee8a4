#include "qdmctl/PackageStaging.h"

#include "qdmctl/PackageCheck.h"

#include <algorithm>
#include <map>
#include <utility>

namespace qdmctl {
namespace {

class Stage {
public:
    Stage(const Repository& repository, std::string folder)
        : repository(repository), folder(std::move(folder)) {}

    /// A copy that serves several models is checked for each.
    std::optional<Error> Take(UpdateItem& item) {
        const Model* model = item.port->found.model;
        const auto [known, isNew] =
            checked.try_emplace({item.package.kind + " " + item.package.file, model});
        if (isNew) {
            known->second = Check(item.package, *model);
        }
        item.archive = known->second ? std::string() : copies[item.package.file];
        return known->second;
    }

private:
    std::optional<Error> Check(const PackageEntry& package, const Model& model) {
        const auto copy = copies.find(package.file);
        if (copy != copies.end()) {
            return CheckArchive(copy->second, package, model);
        }
        const std::string path = folder + "/" + std::to_string(copies.size()) + ".zip";
        auto error = CheckPackage(package, model, repository.folder, path);
        if (!error) {
            copies.emplace(package.file, path);
        }
        return error;
    }

    const Repository& repository;
    std::string folder;
    std::map<std::string, std::string> copies;
    std::map<std::pair<std::string, const Model*>, std::optional<Error>>
        checked;  ///< by kind, file
};

}  // namespace

void StagePackages(Session& session, const Repository& repository, std::vector<UpdateItem>& items) {
    const std::string folder = session.ScratchFolder("packages");
    if (folder.empty()) {
        session.AddError(ErrorId::WorkArea,
                         "cannot make the folder packages below " + session.Root() + "/tmp/qdmctl",
                         "see that nothing else lies there; nothing has been changed");
        items.clear();
        return;
    }
    Stage stage(repository, folder);
    const auto unusable = [&](UpdateItem& item) {
        const auto error = stage.Take(item);
        if (error) {
            Refuse(session, item, *error);
        }
        return error.has_value();
    };
    items.erase(std::remove_if(items.begin(), items.end(), unusable), items.end());
}

}  // namespace qdmctl
