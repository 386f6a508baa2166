// The floor for bench_key_latency: a GLUT program that answers a key with a line on standard error and a new
// frame.

#include <GL/freeglut.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    glutInit(&argc, argv);
    glutInitDisplayMode(GLUT_DOUBLE | GLUT_ALPHA | GLUT_DEPTH);
    glutInitWindowSize(800, 200);
    glutCreateWindow("key latency floor");
    glutSetKeyRepeat(GLUT_KEY_REPEAT_OFF);
    glutDisplayFunc([] {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glutSwapBuffers();
    });
    glutKeyboardFunc([](unsigned char key, int, int) {
        char line[32];
        const int length = std::snprintf(line, sizeof line, "key: 0x%x, '%c'\n", key, key);
        std::fwrite(line, 1, static_cast<std::size_t>(length), stderr);
        glutPostRedisplay();
    });
    glutKeyboardUpFunc([](unsigned char, int, int) { glutPostRedisplay(); });
    glutMainLoop();
}
