// Mirrors a row of four elements with the node Flip, in a program of one's own.
//
//     embed lib/vessa/plugins/manipulation.so

#include <vessa.h>

#include <iostream>
#include <numeric>

using namespace QUOR;

int main(int argc, char** argv) {
    try {
        const CPluginModule module(argc > 1 ? argv[1] : "manipulation.so");
        const std::unique_ptr<IPluginObject> plugin = module.Create("Flip"); // null for an unknown name
        auto& node = dynamic_cast<CPNode&>(*plugin);
        node.Parameters().SetEntry("flip_x", new CValueBool(true)); // the map owns its values
        node.NodeInit();                                            // the node takes over its parameters

        CImage picture(IMAGE_GREY_8, CSize(4, 1), CSize(0, 0, 0));
        auto* elements = static_cast<unsigned char*>(picture.Buffer().Data());
        std::iota(elements, elements + 4, static_cast<unsigned char>(1)); // 1 2 3 4

        CValuePointer<CImage> input(&picture); // borrows the picture, and is itself borrowed by the node
        node.SetStackInput(0, &input);
        node.Run();

        const std::unique_ptr<CValue> output = node.TakeStackOutput(0); // owns the new image
        const CImage& flipped = *UnwrapPointer<CImage>(output.get());
        const auto* result = static_cast<const unsigned char*>(flipped.Buffer().Data());
        for (std::size_t index = 0; index < flipped.Size().Volume(); ++index) {
            std::cout << int{result[index]} << ' ';
        }
        std::cout << '\n';
    } catch (const CException& failure) {
        std::cerr << failure.FormattedWhat() << '\n';
        return 1;
    }
}
